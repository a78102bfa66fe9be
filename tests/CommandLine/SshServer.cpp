// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/CommandLine/SshServer.h"

#include "tests/CommandLine/ProgramPaths.h"

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

/// Binds to a free port, without listening. SO_REUSEADDR lets the server bind to it as well.
FileDescriptor reservePort(int &port)
{
    FileDescriptor own(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int on = 1;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    auto *const generic = reinterpret_cast<sockaddr *>(&address);
    if (::setsockopt(own.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) != 0 ||
        ::bind(own.get(), generic, size) != 0 || ::getsockname(own.get(), generic, &size) != 0) {
        throw std::runtime_error("no port to be had");
    }
    port = ntohs(address.sin_port);
    return own;
}

void write(const std::filesystem::path &file, const std::string &text)
{
    std::ofstream(file) << text;
}

void makeKey(const std::filesystem::path &file)
{
    if (run({"ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", file.string()}).exitCode != 0) {
        throw std::runtime_error("no key to be had");
    }
}

/// Whether the system can load @p program; one that was unpacked may lack a library.
bool isLoadable(const std::filesystem::path &program)
{
    constexpr int notLoaded = 127; // what the loader exits with (ld.so(8))
    return ::access(program.c_str(), X_OK) == 0 &&
           run({program.string(), "-?"}).exitCode != notLoaded;
}

/// The server as it is installed, or as it was unpacked for the tests.
std::filesystem::path serverProgram()
{
    for (const std::filesystem::path &root :
         {std::filesystem::path("/"), std::filesystem::path(unpackedPackages)}) {
        const std::filesystem::path session = root / "usr/lib/openssh/sshd-session";
        if (isLoadable(root / "usr/sbin/sshd") &&
            (!std::filesystem::exists(session) || isLoadable(session))) {
            return root / "usr/sbin/sshd";
        }
    }
    return {};
}

/// Where the part of the server lies that serves a connection, from version 9.8 on.
std::string sessionProgramLine(const std::filesystem::path &server)
{
    const auto root = server.parent_path().parent_path().parent_path();
    const auto session = root / "usr/lib/openssh/sshd-session";
    const auto authentication = root / "usr/lib/openssh/sshd-auth";
    std::string lines;
    if (std::filesystem::exists(session)) {
        lines += "SshdSessionPath " + session.string() + '\n';
    }
    if (std::filesystem::exists(authentication)) {
        lines += "SshdAuthPath " + authentication.string() + '\n';
    }
    return lines;
}

} // namespace

std::unique_ptr<SshServer> SshServer::start(bool hasProgram)
{
    const std::filesystem::path program = serverProgram();
    if (program.empty()) {
        return nullptr;
    }
    std::unique_ptr<SshServer> server(new SshServer);
    return server->run(program, hasProgram) ? std::move(server) : nullptr;
}

bool SshServer::run(const std::filesystem::path &program, bool hasProgram)
{
    const std::filesystem::path folder = m_folder.path();
    int port = 0;
    int closedPort = 0;
    m_reserved = reservePort(port);
    m_closed = reservePort(closedPort);
    makeKey(folder / "host");
    makeKey(folder / "user");
    makeKey(folder / "stranger");
    const std::string programFolder = std::filesystem::path(programPath).parent_path().string();
    write(folder / "sshd_config",
          "ListenAddress 127.0.0.1\nPort " + std::to_string(port) + "\nHostKey " +
              (folder / "host").string() + "\nAuthorizedKeysFile " +
              (folder / "user.pub").string() +
              "\nPidFile none\nStrictModes no\nUsePAM no\nPasswordAuthentication no\n"
              "KbdInteractiveAuthentication no\nMaxStartups 100\nLogLevel VERBOSE\nSetEnv PATH=" +
              (hasProgram ? programFolder + ":" : std::string()) +
              "/usr/bin:/bin TARNWICK_TIERS=none\n" + sessionProgramLine(program));
    writeClient(port, closedPort);
    // As root, the server wants a folder and a user of its own; both are there for it alone.
    std::ifstream users("/etc/passwd");
    write(folder / "passwd", std::string(std::istreambuf_iterator<char>(users), {}) +
                                 "sshd:x:65533:65534::/run/sshd:/usr/sbin/nologin\n");
    const std::string start =
        "exec " + program.string() + " -D -e -f " + (folder / "sshd_config").string() + " 2>&1";
    const std::string prepare =
        "mount -t tmpfs tmpfs /run && mkdir -m755 /run/sshd && mount --bind " +
        (folder / "passwd").string() + " /etc/passwd && ";
    const std::vector<std::string> command =
        ::getuid() == 0
            ? std::vector<std::string>{"unshare", "--mount", "sh", "-c", prepare + start}
            : std::vector<std::string>{"sh", "-c", start};
    m_server.emplace(command);
    return m_server->shows("Server listening on 127.0.0.1 port " + std::to_string(port));
}

void SshServer::writeClient(int port, int closedPort) const
{
    const std::filesystem::path folder = m_folder.path();
    const std::string common = "  HostName 127.0.0.1\n";
    const std::string open = common + "  Port " + std::to_string(port) + '\n';
    write(folder / "ssh_config",
          "Host shop.example bakery.example cafe.example\n" + open + "  IdentityFile " +
              (folder / "user").string() + "\nHost stranger.example\n" + open + "  IdentityFile " +
              (folder / "stranger").string() + "\nHost closed.example\n" + common + "  Port " +
              std::to_string(closedPort) +
              "\nHost *\n  IdentitiesOnly yes\n  IdentityAgent none\n  UserKnownHostsFile " +
              (folder / "known_hosts").string() +
              "\n  GlobalKnownHostsFile /dev/null\n  StrictHostKeyChecking accept-new\n"
              "  LogLevel ERROR\n");
    std::filesystem::create_directory(clientFolder());
    const std::filesystem::path client = clientFolder() / "ssh";
    write(client,
          "#!/bin/sh\nexec /usr/bin/ssh -F " + (folder / "ssh_config").string() + " \"$@\"\n");
    std::filesystem::permissions(client, std::filesystem::perms(0755));
}

} // namespace Tarnwick
