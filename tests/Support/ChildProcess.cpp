// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Support/ChildProcess.h"

#include <csignal>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

constexpr std::chrono::seconds killedSoon{10};

[[noreturn]] void become(const std::vector<char *> &arguments, const std::vector<char *> &variables,
                         const char *output)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int nothing = ::open("/dev/null", O_RDWR);
    const int file = ::open(output, O_WRONLY | O_CREAT | O_APPEND, 0600);
    ::dup2(nothing, STDIN_FILENO);
    ::dup2(file, STDOUT_FILENO);
    ::dup2(file, STDERR_FILENO);
    // Nothing else that the test has open is to be found in the program.
    ::syscall(SYS_close_range, 3, ~0U, 0);
    for (char *const variable : variables) {
        ::putenv(variable);
    }
    ::execvp(arguments.front(), arguments.data());
    ::_exit(127);
}

std::vector<char *> pointers(const std::vector<std::string> &words)
{
    std::vector<char *> raw;
    raw.reserve(words.size() + 1);
    for (const std::string &word : words) {
        raw.push_back(const_cast<char *>(word.c_str()));
    }
    return raw;
}

bool endsWithin(int process, std::chrono::milliseconds patience)
{
    pollfd waiting = {.fd = process, .events = POLLIN, .revents = 0};
    return ::poll(&waiting, 1, static_cast<int>(patience.count())) > 0;
}

} // namespace

ChildProcess::ChildProcess(const std::vector<std::string> &command, const Setup &setup)
{
    std::vector<char *> arguments = pointers(command);
    arguments.push_back(nullptr);
    const std::vector<char *> variables = pointers(setup.environment);
    const std::string output = setup.output.empty() ? "/dev/null" : setup.output.string();
    m_pid = ::fork();
    if (m_pid == 0) {
        become(arguments, variables, output.c_str());
    }
    if (m_pid > 0) {
        m_process = FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, m_pid, 0)));
    }
    if (!m_process) {
        throw std::runtime_error("cannot start " + command.front());
    }
}

ChildProcess::~ChildProcess()
{
    signal(SIGKILL);
    static_cast<void>(awaitEnd(killedSoon));
}

void ChildProcess::signal(int number) const
{
    ::syscall(SYS_pidfd_send_signal, m_process.get(), number, nullptr, 0);
}

bool ChildProcess::hasEnded() const
{
    return m_status || endsWithin(m_process.get(), std::chrono::milliseconds(0));
}

std::optional<int> ChildProcess::awaitEnd(std::chrono::milliseconds patience)
{
    if (!m_status && endsWithin(m_process.get(), patience)) {
        int status = 0;
        ::waitpid(m_pid, &status, 0);
        m_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return m_status;
}

} // namespace Tarnwick
