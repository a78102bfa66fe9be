// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/CommandLine/ListeningChild.h"

#include "Shared/FileDescriptor.h"

#include <array>
#include <csignal>
#include <stdexcept>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

/// A listening socket that survives exec; @p port becomes its port.
FileDescriptor listenOnAnyPort(int &port)
{
    FileDescriptor listener(socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    auto *generic = reinterpret_cast<sockaddr *>(&address);
    if (bind(listener.get(), generic, size) != 0 || listen(listener.get(), 4) != 0 ||
        getsockname(listener.get(), generic, &size) != 0) {
        throw std::runtime_error("no port to listen on");
    }
    port = ntohs(address.sin_port);
    return listener;
}

[[noreturn]] void become(const std::filesystem::path &program,
                         const std::vector<std::string> &arguments)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::vector<char *> raw;
    raw.reserve(arguments.size() + 1);
    for (const std::string &argument : arguments) {
        raw.push_back(const_cast<char *>(argument.c_str()));
    }
    raw.push_back(nullptr);
    execv(program.c_str(), raw.data());
    _exit(127);
}

} // namespace

std::filesystem::path ListeningChild::program(const Setup &setup) const
{
    const std::filesystem::path original = std::filesystem::canonical("/bin/sleep");
    return setup.isSystem ? original : m_copies.copy(original, setup.name);
}

ListeningChild::ListeningChild(const Setup &setup)
{
    const std::filesystem::path executable = program(setup);
    std::vector<std::string> arguments = setup.arguments;
    if (arguments.empty()) {
        arguments.push_back(setup.name);
    }
    arguments.emplace_back("1000");

    m_ports.resize(setup.ports);
    std::vector<FileDescriptor> listeners;
    listeners.reserve(setup.ports);
    for (int &port : m_ports) {
        listeners.push_back(listenOnAnyPort(port));
    }
    // Carries the grandchild's identifier, and ends when the child has become another program.
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe to be had");
    }
    const FileDescriptor readEnd(ends[0]);
    FileDescriptor writeEnd(ends[1]);
    m_pid = fork();
    if (m_pid == 0) {
        if (setup.ignoresSigterm) {
            static_cast<void>(std::signal(SIGTERM, SIG_IGN));
        }
        const pid_t grandchild = setup.hasChild ? fork() : -1;
        if (grandchild > 0) {
            static_cast<void>(write(writeEnd.get(), &grandchild, sizeof(grandchild)));
        }
        if (setup.hasChild && grandchild == 0) {
            // Outlives its parent; the test ends it by its identifier.
            setsid();
            std::vector<char *> raw{const_cast<char *>("worker"), const_cast<char *>("60"),
                                    nullptr};
            execv(executable.c_str(), raw.data());
            _exit(127);
        }
        become(executable, arguments);
    }
    writeEnd.reset();
    pid_t grandchild = -1;
    while (read(readEnd.get(), &grandchild, sizeof(grandchild)) > 0) {
        m_grandchild = grandchild;
    }
}

ListeningChild::~ListeningChild()
{
    if (m_pid > 0) {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
    }
    if (m_grandchild > 0) {
        kill(m_grandchild, SIGKILL);
    }
}

int ListeningChild::endedBy()
{
    int status = 0;
    if (m_pid <= 0 || waitpid(m_pid, &status, WNOHANG) != m_pid) {
        return 0;
    }
    m_pid = -1;
    return WTERMSIG(status);
}

} // namespace Tarnwick
