// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

// Fills the machine with processes that have descriptors and listen, for an inventory to be
// measured against. All of them end when the pipe on standard input is closed by the last who can
// write to it. Until then a line "open PID" there makes that process listen once more.

#include "DescriptorMix.h"
#include "Helper/DescriptorLimit.h"
#include "LoadReport.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <exception>
#include <iostream>
#include <iterator>
#include <numeric>
#include <optional>
#include <random>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <unordered_set>
#include <vector>

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Tarnwick;

namespace {

/// The standard ones, which each process has before it opens any.
constexpr std::size_t inheritedDescriptors = 3;

struct Shape
{
    std::uint64_t processes = 1;
    std::uint64_t listening = 1;    ///< how many of the processes listen
    std::uint64_t listeners = 1;    ///< of each process that listens
    std::uint64_t descriptors = 50; ///< of each process, its listeners and the standard ones too
    std::uint64_t before = 20;      ///< how many others may come before the last listener
    std::uint64_t workers = 0;      ///< that each process forks when its descriptors are open
    std::uint64_t seed = 0;
};

struct Option
{
    std::string_view name;
    std::uint64_t Shape::*value;
};

constexpr std::array options{
    Option{"--processes", &Shape::processes}, Option{"--listening", &Shape::listening},
    Option{"--listeners", &Shape::listeners}, Option{"--descriptors", &Shape::descriptors},
    Option{"--before", &Shape::before},       Option{"--workers", &Shape::workers},
    Option{"--seed", &Shape::seed},
};

std::optional<Shape> parse(std::span<char *const> arguments)
{
    Shape shape;
    for (std::size_t at = 0; at < arguments.size(); at += 2) {
        const auto *const option =
            std::find_if(options.begin(), options.end(),
                         [&](const Option &candidate) { return candidate.name == arguments[at]; });
        if (option == options.end() || at + 1 == arguments.size()) {
            return std::nullopt;
        }
        const std::string_view number = arguments[at + 1];
        const char *const end = number.data() + number.size();
        if (std::from_chars(number.data(), end, shape.*option->value).ptr != end) {
            return std::nullopt;
        }
    }
    if (shape.listening > shape.processes ||
        shape.listeners + inheritedDescriptors > shape.descriptors) {
        return std::nullopt;
    }
    return shape;
}

volatile std::sig_atomic_t listenerWanted = 0;

/// The signal is blocked except while a process waits, so that none is lost.
sigset_t catchRequests()
{
    sigset_t request;
    sigset_t before;
    sigemptyset(&request);
    sigaddset(&request, SIGUSR1);
    ::sigprocmask(SIG_BLOCK, &request, &before);
    struct sigaction action = {};
    action.sa_handler = [](int) { listenerWanted = 1; };
    ::sigaction(SIGUSR1, &action, nullptr);
    return before;
}

/// Waits for the end, and listens once more for each request that comes before it.
void awaitEnd(const sigset_t &whileWaiting, LoadReport &report)
{
    // No event is asked for: what is written there is for the first process, and wakes only that.
    pollfd control{.fd = STDIN_FILENO, .events = 0, .revents = 0};
    while (::ppoll(&control, 1, nullptr, &whileWaiting) <= 0) {
        if (listenerWanted != 0) {
            listenerWanted = 0;
            const std::uint16_t port = openListener();
            report.owns({&port, 1});
        }
    }
}

void awaitChildren()
{
    while (::wait(nullptr) > 0 || errno == EINTR) {
    }
}

pid_t forkOrThrow()
{
    const pid_t child = ::fork();
    if (child < 0) {
        throw std::system_error(errno, std::generic_category(),
                                "no further process (RLIMIT_NPROC, /proc/sys/kernel/pid_max, "
                                "/proc/sys/kernel/threads-max, pids.max of the control group)");
    }
    return child;
}

/// Whether this is one of the processes that were forked.
bool forkWorkers(std::uint64_t count)
{
    for (std::uint64_t worker = 0; worker < count; ++worker) {
        if (forkOrThrow() == 0) {
            return true;
        }
    }
    return false;
}

void live(const Shape &shape, std::uint64_t number, bool listens, const sigset_t &whileWaiting,
          LoadReport &report)
{
    std::seed_seq seed{shape.seed, number};
    std::mt19937_64 random(seed);
    const std::vector<std::uint16_t> ports =
        openMix(drawMix(shape.descriptors - inheritedDescriptors, listens ? shape.listeners : 0,
                        shape.before, random));
    report.owns(ports);
    if (forkWorkers(shape.workers)) {
        report.shares(ports);
    }
    report.complete();
    awaitEnd(whileWaiting, report);
}

[[noreturn]] void runProcess(const Shape &shape, std::uint64_t number, bool listens,
                             const sigset_t &whileWaiting)
{
    LoadReport report;
    int code = 0;
    try {
        live(shape, number, listens, whileWaiting, report);
    } catch (const std::exception &exception) {
        report.failed(exception.what());
        code = 1;
    }
    awaitChildren();
    ::_exit(code);
}

std::unordered_set<pid_t> start(const Shape &shape)
{
    if (const std::uint64_t limit = raiseDescriptorLimit(); limit < shape.descriptors) {
        throw std::runtime_error("a process may have " + std::to_string(limit) +
                                 " descriptors here, too few (RLIMIT_NOFILE)");
    }
    const sigset_t whileWaiting = catchRequests();
    std::vector<std::uint64_t> all(shape.processes);
    std::iota(all.begin(), all.end(), 0);
    std::vector<std::uint64_t> listening;
    std::mt19937_64 random(shape.seed);
    std::sample(all.begin(), all.end(), std::back_inserter(listening), shape.listening, random);

    std::unordered_set<pid_t> started;
    for (const std::uint64_t number : all) {
        const bool listens = std::binary_search(listening.begin(), listening.end(), number);
        const pid_t child = forkOrThrow();
        if (child == 0) {
            runProcess(shape, number, listens, whileWaiting);
        }
        started.insert(child);
    }
    return started;
}

void followRequests(const std::unordered_set<pid_t> &started)
{
    std::string word;
    pid_t pid = 0;
    while (std::cin >> word >> pid) {
        if (word == "open" && started.contains(pid)) {
            ::kill(pid, SIGUSR1);
        }
    }
}

} // namespace

int main(int argc, char **argv)
{
    try {
        const std::span<char *const> arguments(argv, static_cast<std::size_t>(argc));
        const std::optional<Shape> shape = parse(arguments.subspan(1));
        if (!shape) {
            std::cerr << "usage: inventory-load [--processes N] [--listening N] [--listeners N]"
                         " [--descriptors N] [--workers N] [--seed N]\n";
            return 2;
        }
        std::unordered_set<pid_t> started;
        try {
            started = start(*shape);
        } catch (const std::exception &exception) {
            LoadReport().failed(exception.what());
        }
        followRequests(started);
        awaitChildren();
        return 0;
    } catch (const std::exception &exception) {
        std::cerr << "inventory-load: " << exception.what() << '\n';
        return 1;
    }
}
