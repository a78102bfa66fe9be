// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/CommandLine/ListeningChild.h"

#include "Shared/FileDescriptor.h"

#include <array>
#include <csignal>
#include <cstdint>
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

/// Binds @p socket to @p port, or to any for 0, beside sockets like it that do not listen. Whether
/// that succeeded.
bool bindTo(const FileDescriptor &socket, int port)
{
    const int on = 1;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) == 0 &&
           bind(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0;
}

/// A socket that listens on @p port and survives exec; invalid on failure. Only one that is
/// @p shared leaves the port to others like it.
FileDescriptor listenOn(int port, bool shared)
{
    FileDescriptor listener(socket(AF_INET, SOCK_STREAM, 0));
    const int value = shared ? 1 : 0;
    if (setsockopt(listener.get(), SOL_SOCKET, SO_REUSEPORT, &value, sizeof(value)) != 0 ||
        !bindTo(listener, port) || listen(listener.get(), 4) != 0) {
        listener.reset();
    }
    return listener;
}

/// The port that @p socket is bound to; 0 where it is not.
int portOf(const FileDescriptor &socket)
{
    sockaddr_in address{};
    socklen_t size = sizeof(address);
    getsockname(socket.get(), reinterpret_cast<sockaddr *>(&address), &size);
    return ntohs(address.sin_port);
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
        const FileDescriptor &reserved =
            m_reserved.emplace_back(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        if (!bindTo(reserved, 0)) {
            throw std::runtime_error("no port to be had");
        }
        port = portOf(reserved);
        if (!listeners.emplace_back(listenOn(port, setup.childListens || setup.isShared))) {
            throw std::runtime_error("no socket listens on the port");
        }
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
            if (!setup.childInherits) {
                listeners.clear();
            }
            FileDescriptor own;
            if (setup.childListens && !(own = listenOn(m_ports.front(), true))) {
                _exit(127);
            }
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

FileDescriptor ListeningChild::shareFirstPort() const
{
    FileDescriptor listener = listenOn(port(), true);
    if (!listener || fcntl(listener.get(), F_SETFD, FD_CLOEXEC) != 0) {
        throw std::runtime_error("no share of the port to be had");
    }
    return listener;
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
