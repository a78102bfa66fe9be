// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Support/Puppet.h"

#include "tests/Support/PuppetChannel.h"
#include "tests/Support/PuppetProgram.h"

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

struct Channel
{
    FileDescriptor ours;
    FileDescriptor theirs;
};

Channel channel()
{
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        throw std::runtime_error("no channel to be had");
    }
    const int size = 4 * 1024 * 1024;
    for (const int end : ends) {
        ::setsockopt(end, SOL_SOCKET, SO_SNDBUFFORCE, &size, sizeof(size));
    }
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

std::string answerOn(int channel)
{
    PuppetMessage message = receiveMessage(channel);
    if (message.ended) {
        throw std::runtime_error("the puppet has ended");
    }
    if (message.text.starts_with("failed") || message.text.starts_with("unknown")) {
        throw std::runtime_error("the puppet: " + message.text);
    }
    return message.text;
}

FileDescriptor processDescriptor(pid_t pid)
{
    return FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
}

} // namespace

std::filesystem::path Puppet::program()
{
    return puppetProgram;
}

Puppet::Puppet()
    : Puppet(program())
{
}

Puppet::Puppet(const std::filesystem::path &program, const std::vector<std::string> &arguments)
{
    Channel ends = channel();
    std::vector<char *> raw;
    raw.reserve(arguments.size() + 1);
    for (const std::string &argument : arguments) {
        raw.push_back(const_cast<char *>(argument.c_str()));
    }
    raw.push_back(nullptr);
    m_pid = ::fork();
    if (m_pid == 0) {
        // What else the test's group consists of is no matter of the puppet's.
        ::setpgid(0, 0);
        // Only what the puppet opens itself is to be found in it.
        ::dup2(ends.theirs.get(), puppetChannel);
        ::syscall(SYS_close_range, 3, puppetChannel - 1, 0);
        ::syscall(SYS_close_range, puppetChannel + 1, ~0U, 0);
        ::execv(program.c_str(), raw.data());
        ::_exit(127);
    }
    ends.theirs.reset();
    m_channel = std::move(ends.ours);
    m_process = processDescriptor(m_pid);
    answerOn(m_channel.get());
}

Puppet::Puppet(pid_t pid, FileDescriptor channel, bool ownChild)
    : m_pid(pid)
    , m_channel(std::move(channel))
    , m_process(processDescriptor(pid))
    , m_ownChild(ownChild)
{
}

Puppet::~Puppet()
{
    if (m_process) {
        end();
    }
}

void Puppet::end()
{
    ::syscall(SYS_pidfd_send_signal, m_process.get(), SIGKILL, nullptr, 0);
    static_cast<void>(awaitEnd());
    if (m_ownChild) {
        ::waitpid(m_pid, nullptr, 0);
    }
    m_process.reset();
}

bool Puppet::awaitEnd() const
{
    constexpr int patience = 5000;
    pollfd waiting = {.fd = m_process.get(), .events = POLLIN, .revents = 0};
    return ::poll(&waiting, 1, patience) > 0;
}

bool Puppet::hasEnded() const
{
    pollfd waiting = {.fd = m_process.get(), .events = POLLIN, .revents = 0};
    return ::poll(&waiting, 1, 0) > 0;
}

std::string Puppet::tell(const std::vector<std::string> &words, int descriptor)
{
    std::string text;
    for (const std::string &word : words) {
        text += (text.empty() ? "" : std::string(1, '\0')) + word;
    }
    if (!sendMessage(m_channel.get(), text, descriptor)) {
        throw std::runtime_error("the puppet does not listen to " + words.front());
    }
    return answerOn(m_channel.get());
}

Puppet::Listener Puppet::listen(Family family, int descriptor, int port)
{
    const std::string kind = family == Family::V4 ? "4" : family == Family::V6 ? "6" : "dual";
    const std::string answer =
        tell({"listen", kind, std::to_string(descriptor), std::to_string(port)});
    const std::size_t blank = answer.find(' ');
    return {std::stoi(answer.substr(0, blank)), std::stoi(answer.substr(blank + 1))};
}

void Puppet::close(int descriptor)
{
    tell({"close", std::to_string(descriptor)});
}

void Puppet::duplicate(int from, int to)
{
    tell({"dup", std::to_string(from), std::to_string(to)});
}

Puppet Puppet::fork()
{
    Channel ends = channel();
    sendMessage(m_channel.get(), "fork", ends.theirs.get());
    ends.theirs.reset();
    const pid_t child = std::stoi(answerOn(ends.ours.get()));
    return {child, std::move(ends.ours), false};
}

void Puppet::exec(const std::filesystem::path &program, const std::vector<std::string> &arguments)
{
    std::vector<std::string> words{"exec", program.string()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    tell(words);
}

int Puppet::pass(int descriptor, Puppet &receiver, int as)
{
    return std::stoi(receiver.tell({"take", std::to_string(as)}, give(descriptor).get()));
}

FileDescriptor Puppet::give(int descriptor)
{
    sendMessage(m_channel.get(), std::string("give") + '\0' + std::to_string(descriptor));
    return receiveMessage(m_channel.get()).descriptor;
}

void Puppet::rename(std::string_view name)
{
    tell({"name", std::string(name)});
}

void Puppet::retitle(std::string_view title)
{
    tell({"title", std::string(title)});
}

void Puppet::changeDirectory(const std::filesystem::path &folder)
{
    tell({"chdir", folder.string()});
}

void Puppet::ignoreSignal(int signal)
{
    tell({"ignore", std::to_string(signal)});
}

void Puppet::joinGroup(pid_t group)
{
    tell({"group", std::to_string(group)});
}

void Puppet::startSession()
{
    tell({"session"});
}

void Puppet::adoptOrphans()
{
    tell({"adopt"});
}

void Puppet::changeUser(uid_t user)
{
    tell({"user", std::to_string(user)});
}

void Puppet::hide()
{
    tell({"hide"});
}

void Puppet::openFiles(int count)
{
    tell({"files", std::to_string(count)});
}

pid_t Puppet::makeZombie()
{
    return std::stoi(tell({"zombie"}));
}

pid_t Puppet::startThread()
{
    return std::stoi(tell({"thread"}));
}

bool Puppet::enterNetwork(const std::string &address)
{
    return tell({"network", address}) == "ok";
}

void Puppet::stop()
{
    ::syscall(SYS_pidfd_send_signal, m_process.get(), SIGSTOP, nullptr, 0);
    if (m_ownChild) {
        ::waitpid(m_pid, nullptr, WUNTRACED);
    }
}

void Puppet::awaitRest() const
{
    const std::string path = "/proc/" + std::to_string(m_pid) + "/stat";
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    std::string state;
    while (state != "S" && state != "Z") {
        // proc(5): the identifier, the name in parentheses, the state.
        std::string text;
        std::getline(std::ifstream(path), text);
        const std::size_t end = text.rfind(") ");
        if (end == std::string::npos) {
            return;
        }
        state = text.substr(end + 2, 1);
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("the puppet does not rest");
        }
        ::sched_yield();
    }
}

} // namespace Tarnwick
