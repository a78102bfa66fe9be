// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Support/PrivateBus.h"

#include "Shared/FileDescriptor.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

constexpr std::chrono::seconds patience{10};

/// What session buses are given in place of the tight limits of system buses.
constexpr std::array<std::string_view, 10> roomyLimits{
    R"(<limit name="max_incoming_bytes">1000000000</limit>)",
    R"(<limit name="max_outgoing_bytes">1000000000</limit>)",
    R"(<limit name="max_message_size">1000000000</limit>)",
    R"(<limit name="auth_timeout">240000</limit>)",
    R"(<limit name="max_completed_connections">100000</limit>)",
    R"(<limit name="max_incomplete_connections">10000</limit>)",
    R"(<limit name="max_connections_per_user">100000</limit>)",
    R"(<limit name="max_names_per_connection">50000</limit>)",
    R"(<limit name="max_match_rules_per_connection">50000</limit>)",
    R"(<limit name="max_replies_per_connection">50000</limit>)",
};

bool canConnect(const std::string &path)
{
    const FileDescriptor connection(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::copy_n(path.begin(), std::min(path.size(), sizeof(address.sun_path) - 1),
                static_cast<char *>(address.sun_path));
    return ::connect(connection.get(), reinterpret_cast<const sockaddr *>(&address),
                     sizeof(address)) == 0;
}

} // namespace

PrivateBus::PrivateBus(const Options &options)
{
    std::filesystem::create_directory(services());
    if (options.letsEveryUserIn) {
        std::filesystem::permissions(m_folder.path(), std::filesystem::perms(0755));
    }
    writeConfiguration(options);
    start();
}

PrivateBus::~PrivateBus()
{
    stop();
}

void PrivateBus::writeConfiguration(const Options &options) const
{
    std::ofstream file(configuration());
    file << "<busconfig>\n<type>session</type>\n<listen>unix:path=" << socket().string()
         << "</listen>\n<auth>EXTERNAL</auth>\n<servicedir>" << services().string()
         << "</servicedir>\n<policy context=\"default\">\n"
         << "<allow send_destination=\"*\" eavesdrop=\"true\"/>\n<allow eavesdrop=\"true\"/>\n"
         << "<allow own=\"*\"/>\n"
         << (options.letsEveryUserIn ? "<allow user=\"*\"/>\n" : "") << "</policy>\n";
    for (const std::string_view limit : roomyLimits) {
        file << limit << '\n';
    }
    file << options.configuration << "</busconfig>\n";
}

std::string PrivateBus::address() const
{
    return "unix:path=" + socket().string();
}

std::vector<std::string> PrivateBus::environment() const
{
    return {"DBUS_SESSION_BUS_ADDRESS=" + address()};
}

void PrivateBus::start()
{
    if (m_daemon) {
        return;
    }
    std::filesystem::remove(socket());
    m_daemon = std::make_unique<ChildProcess>(
        std::vector<std::string>{"dbus-daemon", "--nofork", "--nopidfile",
                                 "--config-file=" + configuration().string()},
        ChildProcess::Setup{.output = m_folder.path() / "log", .environment = {}});
    awaitSocket();
}

void PrivateBus::awaitSocket()
{
    // Whoever connects is served when the bus has come so far.
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!canConnect(socket())) {
        if (m_daemon->hasEnded() || std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("dbus-daemon does not start: " + log());
        }
        ::poll(nullptr, 0, 1);
    }
}

std::string PrivateBus::log() const
{
    std::ifstream file(m_folder.path() / "log");
    return {std::istreambuf_iterator<char>(file), {}};
}

void PrivateBus::stop()
{
    if (m_daemon) {
        resume();
        m_daemon->signal(SIGTERM);
        static_cast<void>(m_daemon->awaitEnd(patience));
        m_daemon.reset();
    }
}

void PrivateBus::pause() const
{
    m_daemon->signal(SIGSTOP);
}

void PrivateBus::resume() const
{
    m_daemon->signal(SIGCONT);
}

} // namespace Tarnwick
