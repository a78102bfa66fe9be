// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Installer/CopyReceiver.h"

#include "Installer/FilesBelow.h"
#include "Installer/PipeReader.h"
#include "Shared/WriteAll.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

using CopyProtocol::Failure;
using CopyProtocol::systemFailure;

/// How long the other process may be silent. It may have to start the copy from a slow disk.
constexpr std::chrono::seconds silence{60};
constexpr std::uint64_t maxBytes = 4ULL * 1024 * 1024 * 1024;
constexpr std::size_t maxNameLength = 200; ///< so that there is room for a suffix
constexpr mode_t copyMode = 0755;
constexpr mode_t privateMode = 0700;

const Failure ended = std::string(); ///< the other process has ended, and said why

/// A name that is no hidden file's, and that looks in a log like what it is.
bool isNameOfCopy(std::string_view name)
{
    constexpr unsigned char firstPrintable = 0x20;
    constexpr unsigned char deleteCharacter = 0x7f;
    return !name.empty() && name.front() != '.' && name.size() <= maxNameLength &&
           std::none_of(name.begin(), name.end(), [](char character) {
               const auto byte = static_cast<unsigned char>(character);
               return byte < firstPrintable || byte == deleteCharacter || character == '/';
           });
}

bool isOurs(const struct stat &status)
{
    return status.st_uid == ::geteuid();
}

/// Six characters that nobody foresees.
std::string randomSuffix()
{
    constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz012345";
    std::array<unsigned char, 6> bytes{};
    static_cast<void>(::getrandom(bytes.data(), bytes.size(), 0));
    std::string result;
    for (const unsigned char byte : bytes) {
        result += letters[byte % letters.size()];
    }
    return result;
}

struct Header
{
    std::uint64_t size = 0;
    PortableFile file;
};

/// "SIZE MODE PATH".
std::optional<Header> parseHeader(std::string_view line)
{
    Header header;
    const char *const end = line.data() + line.size();
    const auto parsed = std::from_chars(line.data(), end, header.size);
    if (parsed.ec != std::errc{} || parsed.ptr == end || *parsed.ptr != ' ') {
        return std::nullopt;
    }
    const auto rest = static_cast<std::size_t>(parsed.ptr - line.data()) + 1;
    std::optional<PortableFile> file = PortableFile::parse(line.substr(rest));
    if (!file) {
        return std::nullopt;
    }
    header.file = std::move(*file);
    return header;
}

/// renameat2(2) where the file system knows no flags.
bool isUnknownToFileSystem(int error)
{
    return error == EINVAL || error == ENOSYS;
}

} // namespace

CopyReceiver::CopyReceiver(std::string folder, std::string name)
    : m_folder(std::move(folder))
    , m_name(std::move(name))
{
}

CopyReceiver::~CopyReceiver()
{
    if (!m_temporaryName.empty()) {
        FilesBelow::removeListed(m_applications.get(), m_temporaryName, m_received);
    }
}

std::string CopyReceiver::target() const
{
    return (std::filesystem::path(m_folder) / m_name).string();
}

Failure CopyReceiver::receive(int input, int output)
{
    PipeReader reader(input, silence);
    if (Failure failure = openApplications()) {
        return failure;
    }
    if (Failure failure = checkPlace()) {
        return failure;
    }
    if (Failure failure = makeTemporaryFolder()) {
        return failure;
    }
    if (Failure failure = receiveFiles(reader)) {
        return failure;
    }
    if (Failure failure = finishTemporaryFolder()) {
        return failure;
    }
    if (!writeAll(output, m_temporaryName + '\n') || reader.line() != CopyProtocol::commit) {
        return ended;
    }
    // The place may have changed while the copy was written and tried.
    if (Failure failure = checkPlace()) {
        return failure;
    }
    return takePlace();
}

Failure CopyReceiver::openApplications()
{
    if (!isNameOfCopy(m_name)) {
        return "a folder of this name is not moved";
    }
    m_applications = FilesBelow::openFolder(m_folder);
    struct stat status = {};
    if (!m_applications || ::fstat(m_applications.get(), &status) != 0) {
        return systemFailure(m_folder);
    }
    const bool isGroupTrusted = status.st_gid == ::getegid() || (status.st_mode & S_IWGRP) == 0;
    if (!isOurs(status) || !isGroupTrusted || (status.st_mode & S_IWOTH) != 0) {
        return m_folder + ": other users may write into this folder";
    }
    return std::nullopt;
}

Failure CopyReceiver::checkPlace()
{
    m_replaces = false;
    struct stat status = {};
    if (::fstatat(m_applications.get(), m_name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno == ENOENT ? std::nullopt : Failure(systemFailure(target()));
    }
    const std::string notACopy = target() + " is there and is not a copy of Tarnwick";
    const FileDescriptor place = FilesBelow::openFolder(m_applications.get(), m_name);
    if (!place || ::fstat(place.get(), &status) != 0 || !isOurs(status)) {
        return notACopy;
    }
    const FileDescriptor marker = FilesBelow::openFile(place.get(), PortableManifest::fileName);
    if (!marker || ::fstat(marker.get(), &status) != 0 || !isOurs(status)) {
        return notACopy;
    }
    const std::optional<std::string> list =
        FilesBelow::readFile(place.get(), PortableManifest::fileName, PortableManifest::maxBytes);
    m_older = PortableManifest::parse(list.value_or("")).value_or(PortableManifest());
    m_replaces = true;
    return std::nullopt;
}

Failure CopyReceiver::makeTemporaryFolder()
{
    std::string name;
    do {
        name = std::string(CopyProtocol::temporaryPrefix) + randomSuffix();
        if (::mkdirat(m_applications.get(), name.c_str(), privateMode) == 0) {
            m_temporaryName = name;
        } else if (errno != EEXIST) {
            return systemFailure(m_folder);
        }
    } while (m_temporaryName.empty());
    m_temporary = FilesBelow::openFolder(m_applications.get(), m_temporaryName);
    return m_temporary ? std::nullopt : Failure(systemFailure(m_folder));
}

Failure CopyReceiver::receiveFiles(PipeReader &reader)
{
    std::optional<std::string> line = reader.line();
    if (line != CopyProtocol::begin) {
        return ended;
    }
    while ((line = reader.line()) && *line != CopyProtocol::complete) {
        if (Failure failure = receiveFile(reader, *line)) {
            return failure;
        }
    }
    return line ? std::nullopt : ended;
}

Failure CopyReceiver::receiveFile(PipeReader &reader, const std::string &line)
{
    const std::optional<Header> header = parseHeader(line);
    if (!header || m_received.files.size() == PortableManifest::maxFiles ||
        header->size > maxBytes - m_receivedBytes) {
        return "what was sent is not a copy of Tarnwick";
    }
    // Listed first, so that it is removed whatever happens.
    m_received.files.push_back(header->file);
    m_receivedBytes += header->size;
    const std::string path = target() + '/' + header->file.path;
    const FileDescriptor file = FilesBelow::createFile(m_temporary.get(), header->file.path);
    if (!file) {
        return systemFailure(path);
    }
    for (std::uint64_t left = header->size; left > 0;) {
        const std::string bytes = reader.bytes(static_cast<std::size_t>(left));
        if (bytes.empty()) {
            return ended;
        }
        if (!writeAll(file.get(), bytes)) {
            return systemFailure(path);
        }
        left -= bytes.size();
    }
    return FilesBelow::setOwnerAndMode(file.get(), header->file.mode())
               ? std::nullopt
               : Failure(systemFailure(path));
}

Failure CopyReceiver::finishTemporaryFolder()
{
    const FileDescriptor marker =
        FilesBelow::createFile(m_temporary.get(), PortableManifest::fileName);
    constexpr mode_t markerMode = 0644;
    const bool isDone = marker && writeAll(marker.get(), m_received.text()) &&
                        FilesBelow::setOwnerAndMode(marker.get(), markerMode) &&
                        FilesBelow::setOwnerAndMode(m_temporary.get(), copyMode) &&
                        ::syncfs(m_temporary.get()) == 0; // before a name says that it is whole
    return isDone ? std::nullopt : Failure(systemFailure(target()));
}

Failure CopyReceiver::takePlace()
{
    const bool isDone =
        m_replaces ? exchange()
                   : ::renameat2(m_applications.get(), m_temporaryName.c_str(),
                                 m_applications.get(), m_name.c_str(), RENAME_NOREPLACE) == 0 ||
                         // Nobody else may make anything here, and over a folder with something in
                         // it this fails as well.
                         (isUnknownToFileSystem(errno) &&
                          ::renameat(m_applications.get(), m_temporaryName.c_str(),
                                     m_applications.get(), m_name.c_str()) == 0);
    if (!isDone) {
        return systemFailure(target());
    }
    const std::string olderName = std::exchange(m_temporaryName, {});
    ::fsync(m_applications.get());
    if (m_replaces) {
        removeOlderCopy(olderName);
    }
    return std::nullopt;
}

bool CopyReceiver::exchange()
{
    const int folder = m_applications.get();
    if (::renameat2(folder, m_temporaryName.c_str(), folder, m_name.c_str(), RENAME_EXCHANGE) ==
        0) {
        return true;
    }
    if (!isUnknownToFileSystem(errno)) {
        return false;
    }
    // In two steps then. Both copies are whole all the time.
    const std::string aside = std::string(CopyProtocol::temporaryPrefix) + randomSuffix();
    if (::renameat(folder, m_name.c_str(), folder, aside.c_str()) != 0) {
        return false;
    }
    if (::renameat(folder, m_temporaryName.c_str(), folder, m_name.c_str()) != 0) {
        const int reason = errno;
        ::renameat(folder, aside.c_str(), folder, m_name.c_str());
        errno = reason;
        return false;
    }
    m_temporaryName = aside;
    return true;
}

void CopyReceiver::removeOlderCopy(const std::string &name) const
{
    if (FilesBelow::removeListed(m_applications.get(), name, m_older)) {
        return;
    }
    // There is something in it that no copy has brought.
    const std::string kept = m_name + ".old-" + randomSuffix();
    if (::renameat2(m_applications.get(), name.c_str(), m_applications.get(), kept.c_str(),
                    RENAME_NOREPLACE) == 0) {
        const std::string place = (std::filesystem::path(m_folder) / kept).string();
        static_cast<void>(std::fprintf(
            stderr, "tarnwick-install: files that the older copy does not list are kept in %s\n",
            place.c_str()));
    }
}

} // namespace Tarnwick
