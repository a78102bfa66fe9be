// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Support/RunningProgram.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

constexpr int patienceMilliseconds = 10'000;

struct Pipe
{
    FileDescriptor readEnd;
    FileDescriptor writeEnd;
};

Pipe makePipe()
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe to be had");
    }
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

/// Appends what there is to read; at the end, closes @p descriptor.
void readInto(std::string &text, FileDescriptor &descriptor)
{
    std::array<char, 65536> part{};
    const ssize_t count = read(descriptor.get(), part.data(), part.size());
    if (count <= 0) {
        descriptor.reset();
        return;
    }
    text.append(part.data(), static_cast<std::size_t>(count));
}

[[noreturn]] void become(const std::vector<std::string> &command,
                         const RunningProgram::Setup &setup)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    // A test that a script runs in the background is started with some of them ignored.
    for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE}) {
        static_cast<void>(std::signal(number, SIG_DFL));
    }
    for (const std::string &variable : setup.environment) {
        const std::size_t equals = variable.find('=');
        setenv(variable.substr(0, equals).c_str(), variable.substr(equals + 1).c_str(), 1);
    }
    for (const int descriptor : setup.closed) {
        close(descriptor);
    }
    if (setup.user && setuid(*setup.user) != 0) {
        _exit(126);
    }
    std::vector<char *> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string &argument : command) {
        arguments.push_back(const_cast<char *>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    execvp(arguments.front(), arguments.data());
    _exit(127);
}

} // namespace

RunningProgram::RunningProgram(const std::vector<std::string> &command, const Setup &setup)
{
    Pipe output = makePipe();
    Pipe errors = makePipe();
    const FileDescriptor file(
        setup.outputPath.empty() ? -1 : open(setup.outputPath.c_str(), O_WRONLY | O_CLOEXEC));
    const FileDescriptor nothing(open("/dev/null", O_RDONLY | O_CLOEXEC));
    m_output = std::move(output.readEnd);
    m_errors = std::move(errors.readEnd);
    start(command, setup, file ? file.get() : output.writeEnd.get(), errors.writeEnd.get(),
          nothing.get());
}

RunningProgram::RunningProgram(const std::vector<std::string> &command, PseudoTerminal &terminal,
                               const Setup &setup)
    : m_terminal(&terminal)
    , m_output(dup(terminal.user.get()))
{
    const int program = terminal.program.get();
    start(command, setup, program, program, program);
}

void RunningProgram::start(const std::vector<std::string> &command, const Setup &setup, int output,
                           int errors, int input)
{
    m_pid = fork();
    if (m_pid != 0) {
        return;
    }
    if (m_terminal != nullptr) {
        setsid();
        ioctl(input, TIOCSCTTY, 0);
    }
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    become(command, setup);
}

RunningProgram::~RunningProgram()
{
    if (m_pid > 0) {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
    }
}

bool RunningProgram::readMore()
{
    std::array<pollfd, 2> awaited{
        pollfd{.fd = m_output.get(), .events = POLLIN, .revents = 0},
        pollfd{.fd = m_errors.get(), .events = POLLIN, .revents = 0},
    };
    if (poll(awaited.data(), awaited.size(), patienceMilliseconds) <= 0) {
        return false;
    }
    if (awaited[0].revents != 0) {
        readInto(m_result.output, m_output);
    }
    if (awaited[1].revents != 0) {
        readInto(m_result.errors, m_errors);
    }
    return true;
}

bool RunningProgram::shows(std::string_view text)
{
    while (true) {
        const std::size_t found = m_result.output.find(text, m_seen);
        if (found != std::string::npos) {
            m_seen = found + text.size();
            return true;
        }
        if (!m_output || !readMore()) {
            return false;
        }
    }
}

std::string RunningProgram::textBefore(std::string_view text)
{
    const std::size_t begin = m_seen;
    return shows(text) ? m_result.output.substr(begin, m_seen - text.size() - begin) : "";
}

void RunningProgram::type(std::string_view text) const
{
    static_cast<void>(write(m_terminal->user.get(), text.data(), text.size()));
}

void RunningProgram::signal(int number) const
{
    if (m_pid > 0) { // kill(2) takes -1 for every process
        kill(m_pid, number);
    }
}

void RunningProgram::resize(unsigned short columns, unsigned short rows) const
{
    m_terminal->resize(columns, rows);
}

bool RunningProgram::stops() const
{
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(patienceMilliseconds);
    siginfo_t info{};
    while (std::chrono::steady_clock::now() < deadline) {
        if (waitid(P_PID, static_cast<id_t>(m_pid), &info, WSTOPPED | WNOHANG) == 0 &&
            info.si_pid == m_pid) {
            return true;
        }
        poll(nullptr, 0, 1);
    }
    return false;
}

RunningProgram::Result RunningProgram::finish()
{
    // The test's own end of a terminal would keep it open.
    if (m_terminal != nullptr) {
        m_terminal->program.reset();
    }
    while ((m_output || m_errors) && readMore()) {
    }
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(patienceMilliseconds);
    int status = 0;
    while (waitpid(m_pid, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > deadline) {
            return m_result;
        }
        poll(nullptr, 0, 1);
    }
    m_pid = -1;
    m_result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return m_result;
}

RunningProgram::Result run(const std::vector<std::string> &command,
                           const RunningProgram::Setup &setup)
{
    return RunningProgram(command, setup).finish();
}

} // namespace Tarnwick
