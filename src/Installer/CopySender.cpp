// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Installer/CopySender.h"

#include "Installer/FilesBelow.h"
#include "Installer/PipeReader.h"
#include "Installer/Subprocess.h"
#include "Shared/Version.h"
#include "Shared/WriteAll.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

using CopyProtocol::Failure;
using CopyProtocol::systemFailure;
namespace fs = std::filesystem;

constexpr std::chrono::seconds trialTime{10}; ///< in which the copy tells its version
constexpr std::chrono::seconds endTime{2};    ///< after that

const Failure receiverSaysWhy = std::string();

/// What pkexec(1) or the other half ended with. That half has written its reason itself.
Failure failureOf(const Subprocess::End &end)
{
    constexpr int dismissed = 126;
    constexpr int notAuthorized = 127;
    if (end.isSignal) {
        return "ended by signal " + std::to_string(end.status);
    }
    switch (end.status) {
    case 0:
        return std::nullopt;
    case dismissed:
        return "the administrator's password was not given";
    case notAuthorized:
        return "pkexec did not authorize it";
    default:
        return receiverSaysWhy;
    }
}

std::string textOf(const Subprocess::End &end)
{
    return (end.isSignal ? "signal " : "status ") + std::to_string(end.status);
}

/// What the program writes before its output ends or @p timeout passes without any.
std::string outputOf(Subprocess &process, std::chrono::milliseconds timeout)
{
    constexpr std::size_t maxOutput = 4096;
    PipeReader reader(process.output().get(), timeout);
    std::string output;
    while (output.size() < maxOutput) {
        const std::string bytes = reader.bytes(maxOutput - output.size());
        if (bytes.empty()) {
            break;
        }
        output += bytes;
    }
    return output;
}

} // namespace

CopySender::CopySender(Places places)
    : m_places(std::move(places))
{
}

Failure CopySender::send()
{
    if (Failure failure = openSource()) {
        return failure;
    }
    const std::string name = fs::path(m_places.source).filename();
    std::optional<Subprocess> receiver =
        Subprocess::start({"pkexec", m_places.installer, "--receive", m_places.applications, name});
    if (!receiver) {
        return systemFailure("pkexec");
    }
    const Failure failure = converse(*receiver);
    receiver->input().reset(); // without a "commit" before, the other half undoes everything
    const Failure ofReceiver = failureOf(receiver->awaitEnd());
    if (!failure || ofReceiver) {
        return failure && !failure->empty() ? failure : ofReceiver;
    }
    return failure->empty() ? "the other half ended without an answer" : failure;
}

Failure CopySender::openSource()
{
    m_source = FilesBelow::openFolder(m_places.source);
    const std::optional<std::string> list =
        m_source ? FilesBelow::readFile(m_source.get(), PortableManifest::fileName,
                                        PortableManifest::maxBytes)
                 : std::nullopt;
    const fs::path marker = fs::path(m_places.source) / PortableManifest::fileName;
    if (!list) {
        return systemFailure(marker.string());
    }
    std::optional<PortableManifest> manifest = PortableManifest::parse(*list);
    if (!manifest) {
        return marker.string() + " does not list the files of the copy";
    }
    m_manifest = std::move(*manifest);
    const auto &files = m_manifest.files;
    if (std::find(files.begin(), files.end(),
                  PortableFile{.path = m_places.program, .isProgram = true}) == files.end()) {
        return marker.string() + " does not list the program " + m_places.program;
    }
    // Before anybody is asked for a password.
    for (const PortableFile &file : files) {
        if (!FilesBelow::openFile(m_source.get(), file.path)) {
            return systemFailure((fs::path(m_places.source) / file.path).string());
        }
    }
    return std::nullopt;
}

Failure CopySender::converse(Subprocess &receiver) const
{
    const int input = receiver.input().get();
    if (!writeAll(input, std::string(CopyProtocol::begin) + '\n')) {
        return receiverSaysWhy;
    }
    for (const PortableFile &file : m_manifest.files) {
        if (Failure failure = sendFile(input, file)) {
            return failure;
        }
    }
    if (!writeAll(input, std::string(CopyProtocol::complete) + '\n')) {
        return receiverSaysWhy;
    }
    PipeReader answers(receiver.output().get()); // the password may take its time
    const std::optional<std::string> temporaryName = answers.line();
    if (!temporaryName || !temporaryName->starts_with(CopyProtocol::temporaryPrefix)) {
        return receiverSaysWhy;
    }
    if (Failure failure = tryCopy(*temporaryName)) {
        return failure;
    }
    return writeAll(input, std::string(CopyProtocol::commit) + '\n') ? std::nullopt
                                                                     : receiverSaysWhy;
}

Failure CopySender::sendFile(int receiver, const PortableFile &file) const
{
    const std::string path = (fs::path(m_places.source) / file.path).string();
    const FileDescriptor source = FilesBelow::openFile(m_source.get(), file.path);
    struct stat status = {};
    if (!source || ::fstat(source.get(), &status) != 0) {
        return systemFailure(path);
    }
    auto left = static_cast<std::uint64_t>(status.st_size);
    if (!writeAll(receiver, std::to_string(left) + ' ' + file.line() + '\n')) {
        return receiverSaysWhy;
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
        if (!writeAll(receiver, {buffer.data(), static_cast<std::size_t>(count)})) {
            return receiverSaysWhy;
        }
        left -= static_cast<std::uint64_t>(count);
    }
    return std::nullopt;
}

Failure CopySender::tryCopy(const std::string &temporaryName) const
{
    const fs::path program = fs::path(m_places.applications) / temporaryName / m_places.program;
    const FileDescriptor nothing(::open("/dev/null", O_RDWR | O_CLOEXEC));
    std::optional<Subprocess> trial = Subprocess::start({program, "--version"}, nothing.get());
    if (!trial) {
        return systemFailure("the copy cannot be started");
    }
    trial->input().reset();
    const std::string output = outputOf(*trial, trialTime);
    const std::optional<Subprocess::End> end = trial->awaitEnd(endTime);
    if (!end) {
        return "the copy does not end when it is asked for its version";
    }
    if (end->isSignal || end->status != 0) {
        return "the copy does not run: it ended with " + textOf(*end);
    }
    return output == "tarnwick " + std::string(version) + '\n'
               ? std::nullopt
               : Failure("the copy is of another version");
}

} // namespace Tarnwick
