// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Installer/CopyReceiver.h"

#include "Installer/FilesBelow.h"
#include "Installer/Leftovers.h"
#include "Installer/PipeReader.h"
#include "Installer/PipeWriter.h"

#include <cerrno>
#include <charconv>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

using CopyProtocol::Failure;
using CopyProtocol::systemFailure;
using CopyProtocol::writeWhole;

constexpr mode_t copyMode = 0755;
constexpr mode_t privateMode = 0700;
constexpr int maxNames = 100; ///< tried for a new folder

Failure problemOf(const PipeReader &reader)
{
    return "the other process " +
           (reader.problem().empty() ? "has sent something else than a copy" : reader.problem());
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

} // namespace

CopyReceiver::CopyReceiver(std::string folder, std::string name, std::chrono::milliseconds silence)
    : m_applications(std::move(folder), std::move(name))
    , m_silence(silence)
{
}

CopyReceiver::~CopyReceiver()
{
    if (!m_temporaryName.empty()) {
        FilesBelow::removeListed(m_applications.descriptor(), m_temporaryName, m_temporary.get(),
                                 m_received);
    }
}

Failure CopyReceiver::receive(int input, int output)
{
    PipeReader reader(input, m_silence);
    PipeWriter replies(output, m_silence);
    if (Failure failure = m_applications.open()) {
        return failure;
    }
    Leftovers::putBack(m_applications);
    Leftovers::clear(m_applications);
    if (Failure failure = m_applications.checkPlace()) {
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
    if (!replies.write(m_temporaryName + '\n')) {
        return systemFailure("the other process cannot be written to");
    }
    if (reader.line() != CopyProtocol::commit) {
        return problemOf(reader);
    }
    // The place may have changed while the copy was written and tried.
    if (Failure failure = m_applications.checkPlace()) {
        return failure;
    }
    return takePlace(replies);
}

Failure CopyReceiver::makeTemporaryFolder()
{
    const int parent = m_applications.descriptor();
    for (int count = 0; count < maxNames; ++count) {
        const std::string name = Leftovers::temporaryName();
        if (::mkdirat(parent, name.c_str(), privateMode) != 0) {
            if (errno != EEXIST) {
                return systemFailure(m_applications.path());
            }
            continue;
        }
        m_temporary = FilesBelow::openFolder(parent, name);
        if (!m_temporary && errno == ENOENT) {
            continue; // another installation has found it empty, and removed it
        }
        if (!m_temporary || !FilesBelow::setOwnerAndMode(m_temporary.get(), privateMode)) {
            Failure failure = systemFailure(m_applications.path());
            ::unlinkat(parent, name.c_str(), AT_REMOVEDIR);
            return failure;
        }
        // Who has the lock is another installation that has found the folder, and removes it. A
        // file system without locks has none that finds it.
        if (!Leftovers::lock(m_temporary.get()) && errno == EWOULDBLOCK) {
            continue;
        }
        if (FilesBelow::isSame(parent, name, m_temporary.get())) {
            m_temporaryName = name;
            return startMarker();
        }
        if (FilesBelow::isResourceError(errno)) {
            Failure failure = systemFailure(m_applications.path());
            ::unlinkat(parent, name.c_str(), AT_REMOVEDIR);
            return failure;
        }
    }
    return m_applications.path() + ": no folder with a new name can be made";
}

Failure CopyReceiver::startMarker()
{
    m_marker = FilesBelow::createFile(m_temporary.get(), PortableManifest::fileName);
    const std::string line = PortableManifest::firstLine();
    m_markerBytes = line.size();
    return m_marker && writeWhole(m_marker.get(), line)
               ? std::nullopt
               : Failure(systemFailure(m_applications.target()));
}

Failure CopyReceiver::receiveFiles(PipeReader &reader)
{
    std::optional<std::string> line = reader.line();
    if (line != CopyProtocol::begin) {
        return problemOf(reader);
    }
    while ((line = reader.line()) && *line != CopyProtocol::complete) {
        if (Failure failure = receiveFile(reader, *line)) {
            return failure;
        }
    }
    return line ? std::nullopt : problemOf(reader);
}

Failure CopyReceiver::receiveFile(PipeReader &reader, const std::string &line)
{
    const std::optional<Header> header = parseHeader(line);
    if (!header) {
        return "what was sent is not a copy of Tarnwick";
    }
    if (m_received.files.size() == PortableManifest::maxFiles) {
        return "the copy has more than " + std::to_string(PortableManifest::maxFiles) + " files";
    }
    if (header->size > CopyProtocol::maxCopyBytes - m_receivedBytes) {
        return "the copy has more than " + std::to_string(CopyProtocol::maxCopyBytes) + " bytes";
    }
    const std::string listed = header->file.line() + '\n';
    if (listed.size() > PortableManifest::maxBytes - m_markerBytes) {
        return "the list of the copy's files has more than " +
               std::to_string(PortableManifest::maxBytes) + " bytes";
    }
    // Listed first, so that it is removed whatever happens.
    m_received.files.push_back(header->file);
    m_receivedBytes += header->size;
    m_markerBytes += listed.size();
    return writeWhole(m_marker.get(), listed) ? writeFile(reader, header->file, header->size)
                                              : Failure(systemFailure(m_applications.target()));
}

Failure CopyReceiver::writeFile(PipeReader &reader, const PortableFile &file, std::uint64_t size)
{
    const std::string path = m_applications.target() + '/' + file.path;
    const FileDescriptor written = FilesBelow::createFile(m_temporary.get(), file.path);
    if (!written) {
        return systemFailure(path);
    }
    for (std::uint64_t left = size; left > 0;) {
        const std::string bytes = reader.bytes(static_cast<std::size_t>(left));
        if (bytes.empty()) {
            return problemOf(reader);
        }
        if (!writeWhole(written.get(), bytes)) {
            return systemFailure(path);
        }
        left -= bytes.size();
    }
    return FilesBelow::setOwnerAndMode(written.get(), file.mode()) ? std::nullopt
                                                                   : Failure(systemFailure(path));
}

Failure CopyReceiver::finishTemporaryFolder()
{
    constexpr mode_t markerMode = 0644;
    const bool isDone = FilesBelow::setOwnerAndMode(m_marker.get(), markerMode) &&
                        FilesBelow::setOwnerAndMode(m_temporary.get(), copyMode) &&
                        ::syncfs(m_temporary.get()) == 0; // before a name says that it is whole
    return isDone ? std::nullopt : Failure(systemFailure(m_applications.target()));
}

Failure CopyReceiver::takePlace(PipeWriter &replies)
{
    const int folder = m_applications.descriptor();
    if (!FilesBelow::isSame(folder, m_temporaryName, m_temporary.get())) {
        return FilesBelow::isResourceError(errno)
                   ? systemFailure(m_applications.path())
                   : m_applications.path() + ": another folder is in the place of the new copy";
    }
    const OlderCopy *const older = m_applications.older();
    if (older != nullptr) {
        // Held until its removal. Who else has it, such as any user, keeps nothing from happening.
        static_cast<void>(Leftovers::lock(older->folder.get()));
    }
    if (older != nullptr &&
        !FilesBelow::isSame(folder, m_applications.name(), older->folder.get())) {
        return FilesBelow::isResourceError(errno)
                   ? systemFailure(m_applications.target())
                   : m_applications.target() + " has been replaced meanwhile";
    }
    const bool isDone =
        older != nullptr ? exchange()
                         : FilesBelow::renameToNew(folder, m_temporaryName, m_applications.name());
    if (!isDone) {
        return systemFailure(m_applications.target());
    }
    const std::string olderName = std::exchange(m_temporaryName, {});
    static_cast<void>(replies.write(std::string(CopyProtocol::installed) + '\n'));
    try {
        ::fsync(folder);
        if (older != nullptr) {
            Leftovers::remove(m_applications, olderName, *older);
        }
    } catch (const std::bad_alloc &) {
        // The next installation removes it.
    }
    return std::nullopt;
}

bool CopyReceiver::exchange()
{
    const int folder = m_applications.descriptor();
    const std::string &name = m_applications.name();
    if (::renameat2(folder, m_temporaryName.c_str(), folder, name.c_str(), RENAME_EXCHANGE) == 0) {
        return true;
    }
    if (!FilesBelow::isWithoutFlags(errno)) {
        return false;
    }
    // In two steps then. Both copies are whole all the time, and the name of the older one lets the
    // next installation put it back.
    const std::string aside = setAside();
    if (aside.empty()) {
        return false;
    }
    if (!FilesBelow::renameToNew(folder, m_temporaryName, name)) {
        const int reason = errno;
        static_cast<void>(FilesBelow::renameToNew(folder, aside, name));
        errno = reason;
        return false;
    }
    // As after an exchange in one step: nobody puts it back any more.
    if (!FilesBelow::renameToNew(folder, aside, m_temporaryName)) {
        m_temporaryName = aside;
    }
    return true;
}

/// Renames the older copy, and gives its name then; empty, with the reason in errno, on failure.
std::string CopyReceiver::setAside() const
{
    const std::string &name = m_applications.name();
    for (int count = 0; count < maxNames; ++count) {
        std::string aside = Leftovers::asideName(name);
        if (FilesBelow::renameToNew(m_applications.descriptor(), name, aside)) {
            return aside;
        }
        if (errno != EEXIST && errno != ENOTEMPTY && errno != ENOTDIR) {
            break;
        }
    }
    return {};
}

} // namespace Tarnwick
