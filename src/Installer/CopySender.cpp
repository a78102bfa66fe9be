// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Installer/CopySender.h"

#include "Installer/ApplicationsFolder.h"
#include "Installer/FilesBelow.h"
#include "Installer/PipeReader.h"
#include "Installer/PipeWriter.h"
#include "Shared/Subprocess.h"
#include "Shared/Version.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

using CopyProtocol::Failure;
using CopyProtocol::systemFailure;
namespace fs = std::filesystem;

constexpr const char *helper = "tarnwick-helper";
constexpr const char *installer = "tarnwick-install";
constexpr std::chrono::seconds trialTime{10};  ///< in which the copy tells its version
constexpr std::chrono::seconds endTime{2};     ///< after that
constexpr std::chrono::seconds removalTime{2}; ///< for the other half, once the copy is in place
constexpr std::chrono::seconds undoTime{60};   ///< likewise, when it will not be

/// The other half has ended, or reads no more. Its reply, or else its end, says why.
const Failure receiverStopped = std::string();

/// What pkexec(1) or the other half ended with, when that half has not said why. Never a success:
/// that is a reply.
std::string failureOf(const Subprocess::End &end)
{
    constexpr int dismissed = 126;
    constexpr int notAuthorized = 127;
    switch (end.how) {
    case Subprocess::End::How::Signalled:
        return "ended by signal " + std::to_string(end.status);
    case Subprocess::End::How::Unknown:
        return "how the other half ended is unknown: " +
               std::generic_category().message(end.status);
    case Subprocess::End::How::Exited:
        break;
    }
    switch (end.status) {
    case 0:
        return "the other half ended without an answer";
    case dismissed:
        return "the administrator's password was not given";
    case notAuthorized:
        return "pkexec did not authorize it";
    default:
        return "the other half ended with status " + std::to_string(end.status) +
               " without an answer";
    }
}

std::string textOf(const Subprocess::End &end)
{
    switch (end.how) {
    case Subprocess::End::How::Exited:
        return "with status " + std::to_string(end.status);
    case Subprocess::End::How::Signalled:
        return "with signal " + std::to_string(end.status);
    case Subprocess::End::How::Unknown:
        break;
    }
    return "in an unknown way: " + std::generic_category().message(end.status);
}

/// What a program needs at most to print its version. Variables such as LD_LIBRARY_PATH, which only
/// this session may have, are not among them: the copy must run without.
std::vector<std::string> environmentOfTrial()
{
    std::vector<std::string> variables;
    for (const char *const name : {"HOME", "LANG", "LC_ALL", "LOGNAME", "PATH", "USER"}) {
        if (const char *const value = std::getenv(name)) {
            variables.push_back(std::string(name) + '=' + value);
        }
    }
    return variables;
}

/// The failure that the other half sends instead of what was expected.
Failure failureIn(const std::optional<std::string> &reply, const PipeReader &replies)
{
    if (!reply && replies.hasTimedOut()) {
        return "the other half " + replies.problem();
    }
    return reply && reply->starts_with(CopyProtocol::failed)
               ? Failure(reply->substr(CopyProtocol::failed.size()))
               : receiverStopped;
}

/// Why nothing more can be written to the other half, by errno.
Failure writeFailure()
{
    return errno == ETIMEDOUT ? Failure("the other half reads nothing any more") : receiverStopped;
}

/// What the program writes before its output ends or @p timeout has passed.
std::string outputOf(Subprocess &process, std::chrono::milliseconds timeout)
{
    using std::chrono::milliseconds;
    constexpr std::size_t maxOutput = 4096;
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    std::string output;
    while (output.size() < maxOutput) {
        const auto left =
            std::chrono::ceil<milliseconds>(deadline - std::chrono::steady_clock::now());
        PipeReader reader(process.output().get(), std::max(left, milliseconds(0)));
        const std::string bytes = reader.bytes(maxOutput - output.size());
        if (bytes.empty()) {
            break;
        }
        output += bytes;
    }
    return output;
}

} // namespace

CopySender::CopySender(Places places, std::chrono::milliseconds silence)
    : m_places(std::move(places))
    , m_silence(silence)
{
}

Failure CopySender::send()
{
    if (Failure failure = openSource()) {
        return failure;
    }
    if (Failure failure = checkFiles()) {
        return failure;
    }
    if (Failure failure = checkApplications()) {
        return failure;
    }
    std::optional<Subprocess> receiver = Subprocess::start(
        {"pkexec", m_places.installer, "--receive", m_places.applications, nameOfCopy()});
    if (!receiver) {
        return systemFailure("pkexec");
    }
    Failure failure = converse(*receiver);
    receiver->input().reset(); // without a "commit" before, the other half undoes everything
    const std::optional<Subprocess::End> end =
        receiver->awaitEnd(failure ? std::min<std::chrono::milliseconds>(m_silence, undoTime)
                                   : std::chrono::milliseconds(removalTime));
    if (!end) {
        receiver->detach();
    }
    if (failure != receiverStopped) {
        return failure;
    }
    return end ? failureOf(*end) : "the other half neither answers nor ends";
}

std::string CopySender::nameOfCopy() const
{
    return fs::path(m_places.source).filename();
}

Failure CopySender::openSource()
{
    m_source = FilesBelow::openFolder(m_places.source);
    const std::optional<std::string> list =
        m_source ? FilesBelow::readFile(m_source.get(), PortableManifest::fileName,
                                        PortableManifest::maxBytes)
                 : std::nullopt;
    const std::string marker = (fs::path(m_places.source) / PortableManifest::fileName).string();
    if (!list) {
        return systemFailure(marker);
    }
    std::string problem;
    std::optional<PortableManifest> manifest = PortableManifest::parse(*list, &problem);
    if (!manifest) {
        return marker + " does not list the files of the copy: " + problem;
    }
    m_manifest = std::move(*manifest);
    const fs::path folder = fs::path(m_places.program).parent_path();
    for (const std::string &program :
         {m_places.program, (folder / helper).string(), (folder / installer).string()}) {
        if (!m_manifest.lists({.path = program, .isProgram = true})) {
            return std::string(marker).append(" does not list the program ").append(program);
        }
    }
    return std::nullopt;
}

Failure CopySender::checkFiles()
{
    m_bytes = 0;
    for (const PortableFile &file : m_manifest.files) {
        const FileDescriptor opened = FilesBelow::openFile(m_source.get(), file.path);
        struct stat status = {};
        if (!opened || ::fstat(opened.get(), &status) != 0) {
            return systemFailure((fs::path(m_places.source) / file.path).string());
        }
        const auto size = static_cast<std::uint64_t>(status.st_size);
        if (size > CopyProtocol::maxCopyBytes - m_bytes) {
            return "the copy has more than " + std::to_string(CopyProtocol::maxCopyBytes) +
                   " bytes";
        }
        m_bytes += size;
    }
    return std::nullopt;
}

Failure CopySender::checkApplications() const
{
    ApplicationsFolder applications(m_places.applications, nameOfCopy());
    if (Failure failure = applications.open()) {
        return failure;
    }
    constexpr std::uint64_t folderAndMarker = 2;
    if (Failure failure =
            applications.checkUse(m_manifest.files.size() + folderAndMarker, m_bytes)) {
        return failure;
    }
    return applications.checkPlace();
}

/// Success is the reply that the copy is in place.
Failure CopySender::converse(Subprocess &receiver) const
{
    PipeWriter input(receiver.input().get(), m_silence, PipeWriter::Start::AnyTime);
    Failure failure = sendFiles(input);
    if (failure && failure != receiverStopped) {
        return failure;
    }
    // Until it reads, the password may take its time.
    PipeReader replies(receiver.output().get(),
                       input.isReadFrom() ? std::optional(m_silence) : std::nullopt);
    const std::optional<std::string> temporaryName = replies.line();
    if (!temporaryName || !temporaryName->starts_with(CopyProtocol::temporaryPrefix)) {
        return failureIn(temporaryName, replies);
    }
    if ((failure = tryCopy(*temporaryName))) {
        return failure;
    }
    static_cast<void>(input.write(std::string(CopyProtocol::commit) + '\n'));
    const std::optional<std::string> reply = replies.line();
    return reply == CopyProtocol::installed ? std::nullopt : failureIn(reply, replies);
}

Failure CopySender::sendFiles(PipeWriter &receiver) const
{
    if (!receiver.write(std::string(CopyProtocol::begin) + '\n')) {
        return writeFailure();
    }
    for (const PortableFile &file : m_manifest.files) {
        if (Failure failure = sendFile(receiver, file)) {
            return failure;
        }
    }
    return receiver.write(std::string(CopyProtocol::complete) + '\n') ? std::nullopt
                                                                      : writeFailure();
}

Failure CopySender::sendFile(PipeWriter &receiver, const PortableFile &file) const
{
    const std::string path = (fs::path(m_places.source) / file.path).string();
    const FileDescriptor source = FilesBelow::openFile(m_source.get(), file.path);
    struct stat status = {};
    if (!source || ::fstat(source.get(), &status) != 0) {
        return systemFailure(path);
    }
    auto left = static_cast<std::uint64_t>(status.st_size);
    if (!receiver.write(std::to_string(left) + ' ' + file.line() + '\n')) {
        return writeFailure();
    }
    std::array<char, 64UL * 1024> buffer{};
    while (left > 0) {
        const ssize_t count =
            ::read(source.get(), buffer.data(), std::min<std::uint64_t>(buffer.size(), left));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return count < 0 ? systemFailure(path) : path + " has changed meanwhile";
        }
        if (!receiver.write({buffer.data(), static_cast<std::size_t>(count)})) {
            return writeFailure();
        }
        left -= static_cast<std::uint64_t>(count);
    }
    return std::nullopt;
}

Failure CopySender::tryCopy(const std::string &temporaryName) const
{
    const fs::path program = fs::path(m_places.applications) / temporaryName / m_places.program;
    const FileDescriptor nothing(::open("/dev/null", O_RDWR | O_CLOEXEC));
    std::optional<Subprocess> trial =
        nothing ? Subprocess::start({program, "--version"},
                                    {.errors = nothing.get(), .environment = environmentOfTrial()})
                : std::nullopt;
    if (!trial) {
        return systemFailure("the copy cannot be started");
    }
    trial->input().reset();
    const std::string output = outputOf(*trial, trialTime);
    const std::optional<Subprocess::End> end = trial->awaitEnd(endTime);
    if (!end) {
        return "the copy does not end when it is asked for its version";
    }
    if (!end->isSuccess()) {
        return "the copy does not run: it ended " + textOf(*end);
    }
    return output == "tarnwick " + std::string(version) + '\n'
               ? std::nullopt
               : Failure("the copy is of another version");
}

} // namespace Tarnwick
