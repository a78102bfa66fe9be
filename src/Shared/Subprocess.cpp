// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/Subprocess.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

constexpr std::chrono::seconds killTime{2}; ///< in which what was killed ends, or never does

struct Pipe
{
    FileDescriptor readEnd;
    FileDescriptor writeEnd;
};

std::optional<Pipe> makePipe()
{
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return std::nullopt;
    }
    return Pipe{FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

struct Program
{
    std::vector<char *> arguments; ///< with a null pointer at the end, as execve(2) takes them
    std::vector<char *> variables; ///< likewise; empty where those of this process are passed on
};

/// In the child: its end with that of the thread that called fork(2) in @p starter.
void endWith(pid_t starter)
{
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (::getppid() != starter) { // it had ended before
        ::_exit(127);
    }
}

/// Between fork(2) and execve(2).
[[noreturn]] void become(const Program &program, int input, int output, int errors, int report)
{
    const std::vector<char *> &arguments = program.arguments;
    const bool isSet = ::dup2(input, STDIN_FILENO) >= 0 && ::dup2(output, STDOUT_FILENO) >= 0 &&
                       (errors < 0 || ::dup2(errors, STDERR_FILENO) >= 0);
    static_cast<void>(std::signal(SIGPIPE, SIG_DFL)); // which execve(2) leaves ignored
    if (!program.variables.empty()) {
        ::environ = const_cast<char **>(program.variables.data()); // execve(2) changes none
    }
    if (isSet) {
        // With a path, execvp(3) would have a shell run what is a program of another machine.
        const bool isPath = std::strchr(arguments.front(), '/') != nullptr;
        isPath ? ::execv(arguments.front(), arguments.data())
               : ::execvp(arguments.front(), arguments.data());
    }
    const int reason = errno;
    static_cast<void>(::write(report, &reason, sizeof reason) == sizeof reason);
    ::_exit(127);
}

std::vector<char *> pointersTo(const std::vector<std::string> &words)
{
    std::vector<char *> pointers;
    pointers.reserve(words.size() + 1);
    for (const std::string &word : words) {
        pointers.push_back(const_cast<char *>(word.c_str())); // execvp(3) changes none
    }
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

std::optional<Subprocess> Subprocess::start(const std::vector<std::string> &command)
{
    return start(command, Setup());
}

std::optional<Subprocess> Subprocess::start(const std::vector<std::string> &command,
                                            const Setup &setup)
{
    Program program{.arguments = pointersTo(command), .variables = {}};
    if (setup.environment) {
        program.variables = pointersTo(*setup.environment);
    }
    std::optional<Pipe> input = makePipe();
    std::optional<Pipe> output = input ? makePipe() : std::nullopt;
    std::optional<Pipe> report = output ? makePipe() : std::nullopt; // closed by execve(2)
    if (!report) {
        return std::nullopt;
    }
    Subprocess started;
    const pid_t starter = ::getpid();
    started.m_pid = ::fork();
    if (started.m_pid == 0) {
        if (setup.endsWithStarter) {
            endWith(starter);
        }
        const bool shares = setup.sharesStreams;
        become(program, shares ? STDIN_FILENO : input->readEnd.get(),
               shares ? STDOUT_FILENO : output->writeEnd.get(), setup.errors,
               report->writeEnd.get());
    }
    if (started.m_pid < 0) {
        return std::nullopt;
    }
    started.m_process =
        FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, started.m_pid, 0)));
    if (!setup.sharesStreams) {
        started.m_input = std::move(input->writeEnd);
        started.m_output = std::move(output->readEnd);
    }
    report->writeEnd.reset();
    int reason = started.m_process ? 0 : errno;
    if (reason == 0 && ::read(report->readEnd.get(), &reason, sizeof reason) <= 0) {
        return started;
    }
    errno = reason;
    return std::nullopt;
}

Subprocess::Subprocess(Subprocess &&other) noexcept
    : m_pid(std::exchange(other.m_pid, -1))
    , m_process(std::move(other.m_process))
    , m_input(std::move(other.m_input))
    , m_output(std::move(other.m_output))
{
}

Subprocess::~Subprocess()
{
    if (m_pid > 0) {
        const int kept = errno;
        m_input.reset(); // what we may not kill ends for that
        m_output.reset();
        ::kill(m_pid, SIGKILL); // not waited for yet, so the number is still its own
        if (m_process) {
            static_cast<void>(awaitEnd(killTime));
        } else {
            static_cast<void>(awaitEnd());
        }
        errno = kept;
    }
}

void Subprocess::detach()
{
    m_pid = -1;
    m_process.reset();
    m_input.reset();
    m_output.reset();
}

Subprocess::End Subprocess::awaitEnd()
{
    int status = 0;
    pid_t waited = -1;
    do {
        waited = ::waitpid(m_pid, &status, 0);
    } while (waited < 0 && errno == EINTR);
    m_pid = -1;
    if (waited < 0) {
        return {.how = End::How::Unknown, .status = errno};
    }
    return WIFSIGNALED(status) ? End{.how = End::How::Signalled, .status = WTERMSIG(status)}
                               : End{.how = End::How::Exited, .status = WEXITSTATUS(status)};
}

std::optional<Subprocess::End> Subprocess::awaitEnd(std::chrono::milliseconds timeout)
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    int ready = 0;
    do {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd waiting = {.fd = m_process.get(), .events = POLLIN, .revents = 0};
        ready = ::poll(&waiting, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
    } while (ready < 0 && errno == EINTR);
    return ready > 0 ? std::optional(awaitEnd()) : std::nullopt;
}

} // namespace Tarnwick
