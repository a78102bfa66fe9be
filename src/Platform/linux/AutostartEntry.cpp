// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/AutostartEntry.h"

#include "Platform/linux/CurrentDesktop.h"
#include "Platform/linux/DesktopEntry.h"
#include "Platform/linux/EntryKeys.h"
#include "Platform/linux/UserFolders.h"
#include "Shared/FileDescriptor.h"
#include "Shared/ShellQuoting.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <QString>
#include <QStringDecoder>

#include <algorithm>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

constexpr const char *folderName = "autostart";
constexpr const char *fileName = "com.velmora.tarnwick.desktop";

constexpr QByteArrayView typeKey = "Type";
constexpr QByteArrayView applicationType = "Application";
constexpr QByteArrayView nameKey = "Name";
constexpr QByteArrayView execKey = "Exec";
constexpr QByteArrayView tryExecKey = "TryExec";
constexpr QByteArrayView hiddenKey = "Hidden";
constexpr QByteArrayView pathKey = "Path";
constexpr QByteArrayView terminalKey = "Terminal";
constexpr QByteArrayView enabledKey = "X-GNOME-Autostart-enabled";

const std::vector<QByteArrayView> &ownKeys()
{
    static const std::vector<QByteArrayView> keys{typeKey,    nameKey,   execKey,
                                                  tryExecKey, hiddenKey, enabledKey};
    return keys;
}

std::string notText()
{
    return std::make_error_code(std::errc::illegal_byte_sequence).message();
}

/// What is in a file: nothing where there is no file.
struct Content
{
    QByteArray text{};
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
    QByteArray text = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    if (file.error() == QFileDevice::NoError) {
        return {.text = std::move(text)};
    }
    if (status.type() == std::filesystem::file_type::not_found) {
        return {};
    }
    return {.failure = file.errorString().toStdString()};
}

/// Whether every desktop reads @p application between double quotes as what it is. They disagree
/// about quotes, backslashes, dollar and percent signs, and systemd runs no program whose path has
/// a quote, a control character or a noncharacter of Unicode in it.
bool isPlain(const QByteArray &application)
{
    constexpr QByteArrayView special = "\"'`$\\%\x7f";
    return EntryKeys::isSystemdText(application) &&
           std::none_of(application.begin(), application.end(), [special](char character) {
               return (character >= 0 && character < ' ') || special.contains(character);
           });
}

/// The command line that starts @p application.
QByteArray commandFor(const QByteArray &application)
{
    if (isPlain(application)) {
        return DesktopEntry::quotedArgument(application) + " --login-item";
    }
    // In letters that no parser takes for anything else. There is none for a quotation that GLib,
    // systemd's generator and dex(1) agree on, nor for an expansion: systemd loses its dollar sign.
    const std::string script =
        "exec " + ShellQuoting::quote(application.toStdString()) + " --login-item";
    return "/bin/sh -c " +
           DesktopEntry::quotedArgument("echo " + QByteArray::fromStdString(script).toBase64() +
                                        " | base64 -d | sh");
}

/// The path of what a desktop finds as @p program; empty when it finds nothing.
QString findProgram(const QByteArray &program)
{
    return QStandardPaths::findExecutable(QFile::decodeName(program));
}

/// Whether nothing in the entry but a key that switches it off keeps the session from starting a
/// program.
bool isComplete(const EntryKeys &keys)
{
    if (keys.string(typeKey) != applicationType) {
        return false;
    }
    // systemd starts the program elsewhere where its folder is missing.
    const std::optional<QByteArray> folder = keys.string(pathKey);
    if (keys.reader() == EntryReader::GLib && folder && !folder->isEmpty() &&
        !QFileInfo(QFile::decodeName(*folder)).isDir()) {
        return false;
    }
    const std::optional<QByteArray> required = keys.string(tryExecKey);
    if (required && required->isEmpty()) {
        return keys.reader() != EntryReader::Systemd;
    }
    return !required || !findProgram(*required).isEmpty();
}

/// Whether the entry's command starts @p application, and not another program or an older copy.
bool starts(const EntryKeys &keys, const QByteArray &application)
{
    const QByteArray command = keys.string(execKey).value_or(QByteArray());
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
        AutostartEntry::Folders::ofSession(),
        QFile::encodeName(QCoreApplication::applicationFilePath()).toStdString());
}

AutostartEntry::Folders AutostartEntry::Folders::ofSession()
{
    Folders folders{.user = UserFolders::configuration() / folderName, .system = {}};
    for (const std::filesystem::path &configuration : UserFolders::systemConfigurations()) {
        folders.system.push_back(configuration / folderName);
    }
    return folders;
}

AutostartEntry::AutostartEntry(Folders folders, const std::filesystem::path &application)
    : m_folders(std::move(folders))
    , m_application(application.string().c_str())
{
}

std::filesystem::path AutostartEntry::file() const
{
    return m_folders.user / fileName;
}

std::optional<std::filesystem::path> AutostartEntry::systemFile() const
{
    for (const std::filesystem::path &folder : m_folders.system) {
        std::error_code failed;
        if (std::filesystem::exists(folder / fileName, failed)) {
            return folder / fileName;
        }
    }
    return std::nullopt;
}

bool AutostartEntry::isStartedBySystem() const
{
    const std::optional<std::filesystem::path> found = systemFile();
    if (!found) {
        return false;
    }
    const EntryReader reader = CurrentDesktop::ofSession().reader();
    const std::optional<EntryKeys> keys = EntryKeys::read(read(*found).text, reader);
    return !keys || !keys->isTrue(hiddenKey);
}

LoginItem::Status AutostartEntry::status() const
{
    std::filesystem::path effective = file();
    std::error_code failed;
    if (!std::filesystem::exists(effective, failed) && !failed) {
        const std::optional<std::filesystem::path> found = systemFile();
        if (!found) {
            return Status::NotRegistered;
        }
        effective = *found;
    }
    const CurrentDesktop desktop = CurrentDesktop::ofSession();
    const std::optional<EntryKeys> keys = EntryKeys::read(read(effective).text, desktop.reader());
    if (keys && desktop.isSwitchedOff(*keys)) {
        return Status::NotRegistered;
    }
    return keys && isComplete(*keys) && starts(*keys, m_application) ? Status::Enabled
                                                                     : Status::NotFound;
}

LoginItem::Failure AutostartEntry::registerApplication()
{
    QStringDecoder decoder(QStringDecoder::Utf8);
    static_cast<void>(QString(decoder(m_application)));
    if (decoder.hasError()) { // an entry is UTF-8 by its definition
        return std::string(m_application) + ": " + notText();
    }
    const Content old = read(file());
    if (old.failure) {
        return failureText(*old.failure);
    }
    DesktopEntry entry = DesktopEntry::parse(old.text).value_or(DesktopEntry());
    describe(entry);
    const CurrentDesktop desktop = CurrentDesktop::ofSession();
    desktop.switchOn(entry);
    if (!EntryKeys::read(entry.text(), desktop.reader())) {
        return failureText(notText()); // by a line of the user's, which is not ours to remove
    }
    return write(entry.text());
}

void AutostartEntry::describe(DesktopEntry &entry) const
{
    entry.set(typeKey, applicationType.toByteArray());
    const std::optional<EntryKeys> keys = EntryKeys::read(entry.text(), EntryReader::GLib);
    if (!keys || !keys->string(nameKey)) {
        entry.set(nameKey, "Tarnwick");
    }
    entry.set(execKey, commandFor(m_application));
    // Without this folder, or a terminal, some start nothing.
    entry.remove(pathKey);
    entry.remove(terminalKey);
    if (isPlain(m_application)) {
        entry.set(tryExecKey, m_application);
    } else {
        entry.remove(tryExecKey); // not everybody unescapes it
    }
}

LoginItem::Failure AutostartEntry::unregisterApplication()
{
    const Content old = read(file());
    if (old.failure) {
        return failureText(*old.failure);
    }
    std::optional<DesktopEntry> entry = DesktopEntry::parse(old.text);
    const bool isHiding = isStartedBySystem();
    if (!isHiding && (!entry || !entry->hasMoreThan(ownKeys()))) {
        return erase();
    }
    if (!entry) {
        entry.emplace();
        describe(*entry); // without a command it would be no entry for some
    }
    entry->set(hiddenKey, "true");
    return write(entry->text());
}

LoginItem::Failure AutostartEntry::write(const QByteArray &text) const
{
    std::error_code failed;
    std::filesystem::create_directories(m_folders.user, failed);
    if (failed) {
        return failureText(failed.message());
    }
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
    const FileDescriptor folder(::open(m_folders.user.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder) {
        ::fsync(folder.get());
    }
}

std::string AutostartEntry::failureText(const std::string &words) const
{
    return file().string() + ": " + words;
}

} // namespace Tarnwick
