// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/PortableCopy.h"

#include "Core/MainThread.h"
#include "Installer/PortableManifest.h"
#include "Platform/linux/AutostartEntry.h"
#include "Shared/AppLog.h"
#include "Shared/ShellQuoting.h"
#include "Shared/Version.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <algorithm>
#include <iterator>
#include <string_view>
#include <system_error>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

using std::filesystem::path;

constexpr const char *installer = "tarnwick-install";
constexpr std::string_view systemPrefix = "/usr/";
constexpr int endTime = 2000; ///< ms in which a process ends that is to, or never does

/// The folder with the marker: that of the executable, or the one above.
std::optional<path> markedFolder(const path &executable)
{
    const path own = executable.parent_path();
    for (const path &folder : {own, own.parent_path()}) {
        std::error_code failed;
        if (std::filesystem::exists(folder / PortableManifest::fileName, failed)) {
            return folder;
        }
    }
    return std::nullopt;
}

QString textOf(const std::string &bytes)
{
    return QFile::decodeName(bytes.c_str());
}

/// @p text as a part of one line of a log.
std::string oneLine(std::string text)
{
    constexpr unsigned char firstPrintable = 0x20;
    std::replace_if(
        text.begin(), text.end(),
        [](char character) { return static_cast<unsigned char>(character) < firstPrintable; }, '?');
    return text;
}

/// What the installer wrote last; pkexec(1) shares its output.
std::string lastLineOf(QProcess &process)
{
    const QByteArray prefix = QByteArray(installer) + ": ";
    QByteArray last;
    for (const QByteArray &line : process.readAll().split('\n')) {
        if (line.startsWith(prefix)) {
            last = line.mid(prefix.size());
        }
    }
    return oneLine(last.toStdString());
}

/// Why the installer failed.
std::string reasonOf(QProcess &process)
{
    std::string line = lastLineOf(process);
    if (!line.empty()) {
        return line;
    }
    return installer + (process.error() == QProcess::UnknownError
                            ? " ended with status " + std::to_string(process.exitCode())
                            : ": " + process.errorString().toStdString());
}

/// Which folder has the name @p folder.
std::optional<std::pair<dev_t, ino_t>> identityOf(const path &folder)
{
    struct stat status = {};
    return ::lstat(folder.c_str(), &status) == 0
               ? std::optional(std::pair(status.st_dev, status.st_ino))
               : std::nullopt;
}

/// Whether both are programs of the same size.
bool areAlike(const path &one, const path &other)
{
    std::error_code oneFailed;
    std::error_code otherFailed;
    const bool isSameSize = std::filesystem::file_size(one, oneFailed) ==
                            std::filesystem::file_size(other, otherFailed);
    return isSameSize && !oneFailed && !otherFailed && ::access(other.c_str(), X_OK) == 0;
}

} // namespace

std::unique_ptr<ApplicationBundle> ApplicationBundle::ofThisApplication()
{
    const std::string home = QFile::encodeName(QDir::homePath()).toStdString();
    return std::make_unique<PortableCopy>(PortableCopy::Places{
        .executable = QFile::encodeName(QCoreApplication::applicationFilePath()).toStdString(),
        .applications = "/opt/",
        .userApplications = home + "/Applications",
        .autostart = AutostartEntry::Folders::ofSession(),
        .instance = ::getpid()});
}

PortableCopy::PortableCopy(Places places)
    : m_places(std::move(places))
    , m_root(markedFolder(m_places.executable))
{
}

std::string PortableCopy::path() const
{
    return m_root.value_or(m_places.executable.parent_path()).string();
}

bool PortableCopy::isPortable() const
{
    return m_root && !m_places.executable.string().starts_with(systemPrefix);
}

ApplicationBundle::Privileged PortableCopy::runPrivileged(const BundleCopy &copy)
{
    const auto before = identityOf(copy.target());
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    QEventLoop loop;
    QObject::connect(&process, &QProcess::finished, &loop, &QEventLoop::quit);
    QObject::connect(&process, &QProcess::errorOccurred, &loop, &QEventLoop::quit);
    process.start(textOf((m_places.executable.parent_path() / installer).string()),
                  {textOf(copy.source), textOf(copy.applications),
                   textOf(m_places.executable.lexically_relative(copy.source).string())});
    while (process.state() != QProcess::NotRunning) {
        constexpr int applicationEnds = -1;
        if (loop.exec() == applicationEnds) {
            process.terminate(); // the installation undoes itself
            if (!process.waitForFinished(endTime)) {
                process.kill();
                process.waitForFinished(endTime);
            }
            break;
        }
    }
    const bool isDone = process.error() == QProcess::UnknownError &&
                        process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    if (!isDone && identityOf(copy.target()) != before &&
        areAlike(m_places.executable, executableIn(copy.target()))) {
        AppLog::log("[app] moved to " + oneLine(copy.target()) + ", but: " + reasonOf(process));
        return Privileged::Done;
    }
    if (!isDone) {
        AppLog::log("[app] not moved to " + oneLine(copy.target()) + ": " + reasonOf(process));
        return Privileged::Failed;
    }
    if (const std::string remark = lastLineOf(process); !remark.empty()) {
        AppLog::log("[app] moved to " + oneLine(copy.target()) + ": " + remark);
    }
    return Privileged::Done;
}

void PortableCopy::takeAlong(const std::string &path)
{
    if (AutostartEntry(m_places.autostart, m_places.executable).status() ==
        LoginItem::Status::Enabled) {
        AutostartEntry copy(m_places.autostart, executableIn(path));
        static_cast<void>(copy.registerApplication());
    }
}

std::string PortableCopy::openCommand(const std::string &path) const
{
    std::string program = ShellQuoting::quote(executableIn(path).string());
    if (!m_places.instance) {
        return program;
    }
    const std::string instance = std::to_string(*m_places.instance);
    return "timeout 10 tail --pid=" + instance + " -s 0.1 -f /dev/null; " + program;
}

path PortableCopy::executableIn(const std::filesystem::path &path) const
{
    return path / m_places.executable.lexically_relative(this->path());
}

void PortableCopy::launch(const std::string &program, const std::vector<std::string> &arguments)
{
    QStringList words;
    std::transform(arguments.begin(), arguments.end(), std::back_inserter(words), &textOf);
    QProcess::startDetached(textOf(program), words);
}

void PortableCopy::terminate()
{
    // The event loop may not run yet, and only one that runs can be told to end.
    MainThread::post([] { QCoreApplication::quit(); });
}

QVariantMap PortableCopy::information() const
{
    return {{QStringLiteral("CFBundleShortVersionString"),
             QString::fromUtf8(version.data(), static_cast<qsizetype>(version.size()))}};
}

} // namespace Tarnwick
