// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Installer/CopyReceiver.h"
#include "Installer/CopySender.h"
#include "Installer/PipeWriter.h"

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <initializer_list>
#include <span>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using namespace Tarnwick;
using Arguments = std::span<char *const>;

constexpr int failed = 1;
constexpr int misused = 2;

/// Lets this process open as many files as it may, up to what programs expect by default: a program
/// that it starts inherits the limit, and may try each descriptor (select(2)).
void raiseDescriptorLimit()
{
    constexpr rlim_t usual = 1024;
    rlimit limit = {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < usual) {
        limit.rlim_cur = std::min(limit.rlim_max, usual);
        static_cast<void>(::setrlimit(RLIMIT_NOFILE, &limit)); // else with what there are
    }
}

/// A file that is opened must never become one of the standard streams.
bool haveStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) < 0 && ::open("/dev/null", O_RDWR) != stream) {
            return false;
        }
    }
    return true;
}

int report(const CopyProtocol::Failure &failure)
{
    if (failure) {
        CopyProtocol::log(*failure);
    }
    return failure ? failed : 0;
}

/// To the other process, or to the log when that one has ended.
int reply(const CopyProtocol::Failure &failure)
{
    if (!failure) {
        return 0;
    }
    const std::string line = std::string(CopyProtocol::failed) + *failure + '\n';
    return PipeWriter(STDOUT_FILENO, CopyProtocol::maxSilence).write(line) ? failed
                                                                           : report(failure);
}

/// What would end this process, and be somebody's folder that is left half done: from a terminal,
/// from a timer (setitimer(2)) or a limit (setrlimit(2)) that execve(2) has kept. A write beyond a
/// limit then fails with EFBIG.
void ignoreSignals()
{
    for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGALRM, SIGTERM, SIGUSR1, SIGUSR2,
                             SIGTSTP, SIGTTIN, SIGTTOU, SIGXCPU, SIGXFSZ, SIGVTALRM, SIGPROF}) {
        static_cast<void>(std::signal(number, SIG_IGN));
    }
}

/// tarnwick-install --receive FOLDER NAME, as the administrator.
int receive(Arguments arguments)
{
    // The end of its input is what ends it, with everything undone.
    ignoreSignals();
    try {
        // pkexec(1) may keep the user's working directory. A relative path would be one of the
        // user's there, and its file system could not be unmounted meanwhile.
        if (::chdir("/") != 0) {
            return reply(CopyProtocol::systemFailure("/"));
        }
        CopyProtocol::Failure failure;
        {
            CopyReceiver receiver(arguments[2], arguments[3]);
            failure = receiver.receive(STDIN_FILENO, STDOUT_FILENO);
        } // which undoes what failed
        return reply(failure);
    } catch (const std::exception &exception) {
        return reply(exception.what());
    }
}

/// tarnwick-install SOURCE FOLDER PROGRAM, as the user.
int send(Arguments arguments)
{
    std::error_code failure;
    const std::string self = std::filesystem::read_symlink("/proc/self/exe", failure).string();
    CopySender sender({.source = arguments[1],
                       .applications = arguments[2],
                       .program = arguments[3],
                       .installer = self});
    return report(sender.send());
}

} // namespace

int main(int argc, char *argv[])
{
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    // Inherited as ignored, it would let the system forget how a child ended.
    static_cast<void>(std::signal(SIGCHLD, SIG_DFL));
    raiseDescriptorLimit();
    const Arguments arguments(argv, static_cast<std::size_t>(argc));
    constexpr std::size_t words = 4;
    if (!haveStandardStreams() || arguments.size() != words) {
        static_cast<void>(std::fputs("Usage: tarnwick-install SOURCE FOLDER PROGRAM\n"
                                     "Started by tarnwick to move a portable copy.\n",
                                     stderr));
        return misused;
    }
    try {
        return std::string(arguments[1]) == "--receive" ? receive(arguments) : send(arguments);
    } catch (const std::exception &exception) {
        return report(exception.what());
    }
}
