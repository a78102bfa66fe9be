// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/AutostartEntry.h"

#include "Platform/linux/DesktopEntry.h"
#include "Platform/linux/UserFolders.h"
#include "Shared/FileDescriptor.h"

#include <QCoreApplication>
#include <QFile>
#include <QSaveFile>
#include <QStandardPaths>
#include <QString>
#include <QStringDecoder>

#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

constexpr QByteArrayView typeKey = "Type";
constexpr QByteArrayView nameKey = "Name";
constexpr QByteArrayView execKey = "Exec";
constexpr QByteArrayView tryExecKey = "TryExec";
constexpr QByteArrayView hiddenKey = "Hidden";
constexpr QByteArrayView enabledKey = "X-GNOME-Autostart-enabled";

const std::vector<QByteArrayView> &ownKeys()
{
    static const std::vector<QByteArrayView> keys{typeKey,    nameKey,   execKey,
                                                  tryExecKey, hiddenKey, enabledKey};
    return keys;
}

/// What is in a file: nothing where there is no file, or no desktop entry in it.
struct Content
{
    std::optional<DesktopEntry> entry{};
    std::optional<std::string> failure{}; ///< why a file that is there cannot be read
};

Content read(const std::filesystem::path &path)
{
    std::error_code unknown;
    const std::filesystem::file_status status = std::filesystem::status(path, unknown);
    if (std::filesystem::is_other(status)) { // a pipe would keep its reader waiting
        return {.failure = std::make_error_code(std::errc::operation_not_supported).message()};
    }
    QFile file(QFile::decodeName(path.c_str()));
    const QByteArray text = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    if (file.error() == QFileDevice::NoError) {
        return {.entry = DesktopEntry::parse(text)};
    }
    if (status.type() == std::filesystem::file_type::not_found) {
        return {};
    }
    return {.failure = file.errorString().toStdString()};
}

/// The command line that starts @p application.
QByteArray commandFor(const QByteArray &application)
{
    QByteArray command = DesktopEntry::quotedArgument(application) + " --login-item";
    if (!application.contains('%')) {
        return command;
    }
    // GLib looks whether there is a program before it takes "%%" for one character, so the program
    // must be another one.
    return "/bin/sh -c " + DesktopEntry::quotedArgument(R"(exec "$0" "$@")") + ' ' + command;
}

bool isSwitchedOff(const DesktopEntry &entry)
{
    return entry.is(hiddenKey, true) || entry.is(enabledKey, false);
}

/// The path of what a desktop finds as @p program; empty when it finds nothing.
QString findProgram(const QByteArray &program)
{
    return QStandardPaths::findExecutable(QFile::decodeName(program));
}

/// Whether the entry starts @p application, and not another program or an older copy.
bool starts(const DesktopEntry &entry, const QByteArray &application)
{
    const std::optional<QByteArray> required = entry.value(tryExecKey);
    if (required && !required->isEmpty() && findProgram(*required).isEmpty()) {
        return false;
    }
    const QByteArray command = entry.value(execKey).value_or(QByteArray());
    // What we write ourselves may begin with the shell.
    const QString program = findProgram(
        command == commandFor(application) ? application : DesktopEntry::program(command));
    std::error_code failed;
    return std::filesystem::equivalent(QFile::encodeName(program).toStdString(),
                                       application.toStdString(), failed);
}

} // namespace

std::unique_ptr<LoginItem> LoginItem::ofThisApplication()
{
    return std::make_unique<AutostartEntry>(
        AutostartEntry::userFolder(),
        QFile::encodeName(QCoreApplication::applicationFilePath()).toStdString());
}

std::filesystem::path AutostartEntry::userFolder()
{
    return UserFolders::configuration() / "autostart";
}

AutostartEntry::AutostartEntry(std::filesystem::path folder,
                               const std::filesystem::path &application)
    : m_folder(std::move(folder))
    , m_application(application.string().c_str())
{
}

std::filesystem::path AutostartEntry::file() const
{
    return m_folder / "com.velmora.tarnwick.desktop";
}

LoginItem::Status AutostartEntry::status() const
{
    std::error_code failed;
    if (!std::filesystem::exists(file(), failed) && !failed) {
        return Status::NotRegistered;
    }
    const std::optional<DesktopEntry> entry = read(file()).entry;
    if (entry && isSwitchedOff(*entry)) {
        return Status::NotRegistered;
    }
    return entry && starts(*entry, m_application) ? Status::Enabled : Status::NotFound;
}

LoginItem::Failure AutostartEntry::registerApplication()
{
    QStringDecoder decoder(QStringDecoder::Utf8);
    static_cast<void>(QString(decoder(m_application)));
    if (decoder.hasError()) { // an entry is UTF-8 by its definition
        return std::string(m_application) + ": " +
               std::make_error_code(std::errc::illegal_byte_sequence).message();
    }
    std::error_code failed;
    std::filesystem::create_directories(m_folder, failed);
    if (failed) {
        return failureText(failed.message());
    }
    const Content old = read(file());
    if (old.failure) {
        return failureText(*old.failure);
    }
    DesktopEntry entry = old.entry.value_or(DesktopEntry());
    entry.set(typeKey, "Application");
    if (!entry.value(nameKey)) {
        entry.set(nameKey, "Tarnwick");
    }
    entry.set(execKey, commandFor(m_application));
    entry.set(tryExecKey, m_application);
    entry.remove(hiddenKey);
    entry.set(enabledKey, "true");
    return write(entry.text());
}

LoginItem::Failure AutostartEntry::unregisterApplication()
{
    Content old = read(file());
    if (old.failure) {
        return failureText(*old.failure);
    }
    if (!old.entry || !old.entry->hasMoreThan(ownKeys())) {
        return erase();
    }
    old.entry->set(hiddenKey, "true");
    return write(old.entry->text());
}

LoginItem::Failure AutostartEntry::write(const QByteArray &text) const
{
    QSaveFile target(QFile::decodeName(file().c_str()));
    if (!target.open(QIODevice::WriteOnly) || target.write(text) != text.size() ||
        !target.commit()) {
        return failureText(target.errorString().toStdString());
    }
    synchroniseFolder();
    return std::nullopt;
}

LoginItem::Failure AutostartEntry::erase() const
{
    std::error_code failed;
    std::filesystem::remove(file(), failed);
    if (failed) {
        return failureText(failed.message());
    }
    synchroniseFolder();
    return std::nullopt;
}

void AutostartEntry::synchroniseFolder() const
{
    const FileDescriptor folder(::open(m_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder) {
        ::fsync(folder.get());
    }
}

std::string AutostartEntry::failureText(const std::string &words) const
{
    return file().string() + ": " + words;
}

} // namespace Tarnwick
