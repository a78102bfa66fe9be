// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

// Keeps one inventory alive, as the helper process does, and times its scans one by one. Commands
// come as lines on standard input; each is answered with one line.
//
//     scan COUNT    the median of COUNT scans, in milliseconds
//     cold          a first scan of an inventory of its own, in milliseconds
//     pairs         what the latest scan named, as PORT:PID separated by blanks
//     memory        the resident memory of the program, in kilobytes

#include "Helper/DescriptorLimit.h"
#include "Helper/ListenerInventory.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <exception>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

#include <grp.h>
#include <sys/prctl.h>
#include <unistd.h>

using namespace Tarnwick;

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

class Probe
{
public:
    [[nodiscard]] std::string scan(const std::string &count);
    [[nodiscard]] std::string cold(const std::string &);
    [[nodiscard]] std::string pairs(const std::string &);
    [[nodiscard]] std::string memory(const std::string &);

private:
    ListenerInventory m_inventory;
    std::vector<RawPortInfo> m_records;
};

std::vector<RawPortInfo> recordsOf(Listing listing)
{
    if (const auto *error = std::get_if<ListingError>(&listing)) {
        throw std::system_error(error->code, std::generic_category(), error->message);
    }
    return std::get<std::vector<RawPortInfo>>(std::move(listing));
}

double since(Clock::time_point start)
{
    return Milliseconds(Clock::now() - start).count();
}

std::string Probe::scan(const std::string &count)
{
    std::vector<double> times(std::stoul(count));
    if (times.empty()) {
        throw std::invalid_argument("scan needs a count above 0");
    }
    for (double &time : times) {
        const Clock::time_point start = Clock::now();
        Listing listing = m_inventory.list();
        time = since(start);
        m_records = recordsOf(std::move(listing));
    }
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return std::to_string(*middle);
}

std::string Probe::cold(const std::string &)
{
    const Clock::time_point start = Clock::now();
    ListenerInventory inventory;
    Listing listing = inventory.list();
    const double time = since(start);
    m_records = recordsOf(std::move(listing));
    return std::to_string(time);
}

std::string Probe::pairs(const std::string &)
{
    std::ostringstream line;
    for (const RawPortInfo &record : m_records) {
        line << record.port << ':' << record.pid << ' ';
    }
    return line.str();
}

std::string Probe::memory(const std::string &)
{
    // proc(5): "VmRSS:", blanks, a number, " kB".
    std::ifstream status("/proc/self/status");
    std::string word;
    while (status >> word) {
        if (word == "VmRSS:" && status >> word) {
            return word;
        }
    }
    throw std::runtime_error("/proc/self/status tells no VmRSS");
}

struct Command
{
    std::string_view name;
    std::string (Probe::*answer)(const std::string &argument);
};

constexpr std::array commands{
    Command{"scan", &Probe::scan},
    Command{"cold", &Probe::cold},
    Command{"pairs", &Probe::pairs},
    Command{"memory", &Probe::memory},
};

void followCommands()
{
    Probe probe;
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream words(line);
        std::string name;
        std::string argument;
        words >> name >> argument;
        const auto *const command =
            std::find_if(commands.begin(), commands.end(),
                         [&name](const Command &candidate) { return candidate.name == name; });
        if (command == commands.end()) {
            throw std::invalid_argument("no command \"" + name + '"');
        }
        std::cout << (probe.*command->answer)(argument) << std::endl;
    }
}

/// Becomes another user for good. Such a process could not look into itself, which one that the
/// user started can: prctl(2), PR_SET_DUMPABLE.
void becomeUser(const char *text)
{
    const std::string_view number = text;
    uid_t user = 0;
    const char *const end = number.data() + number.size();
    if (std::from_chars(number.data(), end, user).ptr != end) {
        throw std::invalid_argument("--user needs a number");
    }
    if (::setgroups(0, nullptr) != 0 || ::setresgid(user, user, user) != 0 ||
        ::setresuid(user, user, user) != 0 || ::prctl(PR_SET_DUMPABLE, 1) != 0) {
        throw std::system_error(errno, std::generic_category(), "cannot become another user");
    }
}

} // namespace

int main(int argc, char **argv)
{
    try {
        raiseDescriptorLimit();
        const bool asUser = argc == 3 && std::string_view(argv[1]) == "--user";
        if (argc != 1 && !asUser) {
            std::cerr << "usage: inventory-probe [--user NUMBER]\n";
            return 2;
        }
        if (asUser) {
            becomeUser(argv[2]);
        }
        followCommands();
        return 0;
    } catch (const std::exception &exception) {
        std::cerr << "inventory-probe: " << exception.what() << '\n';
        return 1;
    }
}
