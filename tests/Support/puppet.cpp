// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

// A process that does what a test tells it: listens, forks, renames itself, becomes another
// program. Commands come as words separated by NULs over the channel; each is answered, and the end
// of the channel is the end of the puppet.

#include "Shared/FileDescriptor.h"
#include "tests/Support/PuppetChannel.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <grp.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Tarnwick;

namespace {

using Words = std::vector<std::string>;

char *argumentArea = nullptr;
std::size_t argumentAreaSize = 0;

Words split(const std::string &text)
{
    Words words;
    std::size_t start = 0;
    for (std::size_t at = text.find('\0'); at != std::string::npos; at = text.find('\0', start)) {
        words.push_back(text.substr(start, at - start));
        start = at + 1;
    }
    words.push_back(text.substr(start));
    return words;
}

int number(const std::string &word)
{
    return std::atoi(word.c_str());
}

std::string told(bool done)
{
    return done ? "ok" : std::string("failed: ") + std::strerror(errno);
}

/// Moves a descriptor to the number that is wanted; any will do when that is negative.
int moveTo(int descriptor, int wanted)
{
    if (wanted < 0 || descriptor == wanted) {
        return descriptor;
    }
    const int moved = ::dup2(descriptor, wanted);
    ::close(descriptor);
    return moved;
}

/// The kernel gives ports from about 32,768 on to whoever wants any, to each family of addresses
/// for itself. Those of the second are taken from below, so that no two listeners of tests that run
/// at the same time, and look for theirs by the port, ever share one.
constexpr int firstPortOfV6 = 12000;
constexpr int portsOfV6 = 8000;

/// A listener on @p port of the loopback address, or -1 with errno.
int listenOnPort(bool six, bool only, int port)
{
    FileDescriptor listener(::socket(six ? AF_INET6 : AF_INET, SOCK_STREAM, 0));
    const int on = 1;
    const int onlyV6 = only ? 1 : 0;
    ::setsockopt(listener.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    if (six) {
        ::setsockopt(listener.get(), IPPROTO_IPV6, IPV6_V6ONLY, &onlyV6, sizeof(onlyV6));
    }
    sockaddr_in v4 = {};
    v4.sin_family = AF_INET;
    v4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    v4.sin_port = htons(static_cast<std::uint16_t>(port));
    sockaddr_in6 v6 = {};
    v6.sin6_family = AF_INET6;
    v6.sin6_addr = in6addr_loopback;
    v6.sin6_port = v4.sin_port;
    const auto *address =
        six ? reinterpret_cast<sockaddr *>(&v6) : reinterpret_cast<sockaddr *>(&v4);
    const socklen_t size = six ? sizeof(v6) : sizeof(v4);
    if (::bind(listener.get(), address, size) != 0 || ::listen(listener.get(), 16) != 0) {
        return -1;
    }
    return listener.release();
}

int listenOnAnyPortOfV6(bool only)
{
    static int next = static_cast<int>(::getpid()) * 101;
    for (int tried = 0; tried < portsOfV6; ++tried) {
        const int listener = listenOnPort(true, only, firstPortOfV6 + next++ % portsOfV6);
        if (listener >= 0 || errno != EADDRINUSE) {
            return listener;
        }
    }
    return -1;
}

int portOf(int listener)
{
    // Both families have the port in the same place.
    sockaddr_in6 address = {};
    socklen_t size = sizeof(address);
    ::getsockname(listener, reinterpret_cast<sockaddr *>(&address), &size);
    return ntohs(address.sin6_port);
}

/// listen FAMILY DESCRIPTOR PORT
std::string listenOn(const Words &words)
{
    const bool six = words[1] != "4";
    const bool only = words[1] == "6";
    const int port = number(words[3]);
    const int listener =
        six && port == 0 ? listenOnAnyPortOfV6(only) : listenOnPort(six, only, port);
    if (listener < 0) {
        return told(false);
    }
    const int moved = moveTo(listener, number(words[2]));
    return std::to_string(portOf(moved)) + " " + std::to_string(moved);
}

std::string becomeProgram(const Words &words)
{
    std::vector<char *> arguments;
    for (std::size_t at = 2; at < words.size(); ++at) {
        arguments.push_back(const_cast<char *>(words[at].c_str()));
    }
    arguments.push_back(nullptr);
    ::execv(words[1].c_str(), arguments.data());
    return told(false);
}

std::string forkPuppet(FileDescriptor channel)
{
    const pid_t child = ::fork();
    if (child == 0) {
        moveTo(channel.release(), puppetChannel);
        return std::to_string(::getpid());
    }
    return {}; // the child answers on its own channel
}

std::string makeZombie()
{
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(0);
    }
    siginfo_t information = {};
    ::waitid(P_PID, static_cast<id_t>(child), &information, WEXITED | WNOWAIT);
    return std::to_string(child);
}

std::string startThread()
{
    static std::atomic<pid_t> identifier{0};
    std::thread([] {
        identifier = static_cast<pid_t>(::syscall(SYS_gettid));
        for (;;) {
            ::pause();
        }
    }).detach();
    while (identifier == 0) {
        ::sched_yield();
    }
    return std::to_string(identifier);
}

std::string retitle(const Words &words)
{
    std::memset(argumentArea, 0, argumentAreaSize);
    const std::size_t size = std::min(words[1].size(), argumentAreaSize - 1);
    std::copy_n(words[1].begin(), size, argumentArea);
    return "ok";
}

std::string changeUser(const Words &words)
{
    const auto user = static_cast<uid_t>(number(words[1]));
    return told(::setgroups(0, nullptr) == 0 && ::setresgid(user, user, user) == 0 &&
                ::setresuid(user, user, user) == 0);
}

/// network ADDRESS. What the system denies is no fault of the test: the answer does not say
/// "failed".
std::string enterNetwork(const Words &words)
{
    if (::unshare(CLONE_NEWNET) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
        return "denied";
    }
    const FileDescriptor any(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ifreq request = {.ifr_ifrn = {"lo"}, .ifr_ifru = {}};
    request.ifr_flags = IFF_UP;
    if (::ioctl(any.get(), SIOCSIFFLAGS, &request) != 0) {
        return "denied";
    }
    ifreq alias = {.ifr_ifrn = {"lo:1"}, .ifr_ifru = {}};
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    ::inet_pton(AF_INET, words[1].c_str(), &address.sin_addr);
    std::memcpy(&alias.ifr_addr, &address, sizeof(address));
    return ::ioctl(any.get(), SIOCSIFADDR, &alias) == 0 ? "ok" : "denied";
}

std::string openFiles(const Words &words)
{
    for (int left = number(words[1]); left > 0; --left) {
        if (::open("/dev/null", O_RDONLY) < 0) {
            return told(false);
        }
    }
    return "ok";
}

using Command = std::function<std::string(const Words &, FileDescriptor)>;

template<class Function>
Command plain(Function function)
{
    return [function](const Words &words, FileDescriptor) { return std::string(function(words)); };
}

const std::map<std::string, Command> &commands()
{
    static const std::map<std::string, Command> table{
        {"listen", plain(listenOn)},
        {"close", plain([](const Words &w) { return told(::close(number(w[1])) == 0); })},
        {"dup",
         plain([](const Words &w) { return told(::dup2(number(w[1]), number(w[2])) >= 0); })},
        {"fork",
         [](const Words &, FileDescriptor channel) { return forkPuppet(std::move(channel)); }},
        {"take",
         [](const Words &w, FileDescriptor given) {
             return std::to_string(moveTo(given.release(), number(w[1])));
         }},
        {"name",
         plain([](const Words &w) { return told(::prctl(PR_SET_NAME, w[1].c_str()) == 0); })},
        {"exec", plain(becomeProgram)},
        {"chdir", plain([](const Words &w) { return told(::chdir(w[1].c_str()) == 0); })},
        {"ignore",
         plain([](const Words &w) { return told(std::signal(number(w[1]), SIG_IGN) != SIG_ERR); })},
        {"group", plain([](const Words &w) { return told(::setpgid(0, number(w[1])) == 0); })},
        {"session", plain([](const Words &) { return told(::setsid() >= 0); })},
        {"adopt",
         plain([](const Words &) { return told(::prctl(PR_SET_CHILD_SUBREAPER, 1) == 0); })},
        {"user", plain(changeUser)},
        {"hide", plain([](const Words &) { return told(::prctl(PR_SET_DUMPABLE, 0) == 0); })},
        {"files", plain(openFiles)},
        {"title", plain(retitle)},
        {"network", plain(enterNetwork)},
        {"zombie", plain([](const Words &) { return makeZombie(); })},
        {"thread", plain([](const Words &) { return startThread(); })},
        {"exit", plain([](const Words &) -> std::string { ::_exit(0); })},
    };
    return table;
}

} // namespace

int main(int argc, char **argv)
{
    argumentArea = argv[0];
    char *const lastArgument = argv[argc - 1];
    argumentAreaSize =
        static_cast<std::size_t>(lastArgument + std::strlen(lastArgument) - argv[0]) + 1;
    sendMessage(puppetChannel, std::to_string(::getpid()));
    for (;;) {
        PuppetMessage message = receiveMessage(puppetChannel);
        if (message.ended) {
            ::_exit(0);
        }
        const Words words = split(message.text);
        if (words[0] == "give") {
            sendMessage(puppetChannel, "ok", number(words[1]));
            continue;
        }
        const auto command = commands().find(words[0]);
        const std::string answer = command == commands().end()
                                       ? "unknown command"
                                       : command->second(words, std::move(message.descriptor));
        if (!answer.empty()) {
            sendMessage(puppetChannel, answer);
        }
    }
}
