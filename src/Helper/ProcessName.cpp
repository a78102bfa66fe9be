// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ProcessName.h"

#include <algorithm>
#include <array>
#include <vector>

namespace Tarnwick {

namespace {

/// TASK_COMM_LEN of the kernel's include/linux/sched.h, less the terminating NUL.
constexpr std::size_t longestCommandName = 15;

constexpr std::array<std::string_view, 4> multiCallBinaries{"busybox", "toybox", "coreutils",
                                                            "sbase-box"};

bool isMultiCall(std::string_view name)
{
    return std::find(multiCallBinaries.begin(), multiCallBinaries.end(), name) !=
           multiCallBinaries.end();
}

/// The name in an argument: without the dash of a login shell and the colon of a title.
std::string_view calledAs(std::string_view argument)
{
    std::string_view name = ProcessName::baseName(argument);
    if (name.starts_with('-')) {
        name.remove_prefix(1);
    }
    if (name.ends_with(':')) {
        name.remove_suffix(1);
    }
    return name;
}

/// The file names that may have given the process its command name, the likeliest first: the
/// executable, what it was called as, and a script (which the kernel puts behind its interpreter
/// and at most one option of that).
std::vector<std::string_view> possibleNames(std::string_view executable,
                                            std::span<const std::string> arguments)
{
    constexpr std::size_t lastScriptPlace = 2;
    std::vector<std::string_view> names{ProcessName::baseName(executable)};
    for (std::size_t place = 0; place < arguments.size() && place <= lastScriptPlace; ++place) {
        names.push_back(calledAs(arguments[place]));
        if (place == 0) {
            names.push_back(calledAs(ProcessName::firstWord(arguments[place])));
        }
    }
    return names;
}

} // namespace

std::string_view ProcessName::baseName(std::string_view path)
{
    return path.substr(path.rfind('/') + 1);
}

std::string_view ProcessName::firstWord(std::string_view text)
{
    return text.substr(0, text.find(' '));
}

bool ProcessName::isCommandNameOf(std::string_view comm, std::string_view name)
{
    if (comm.empty() || comm.size() < longestCommandName) {
        return !comm.empty() && comm == name;
    }
    return name.starts_with(comm);
}

std::string ProcessName::from(std::string_view comm, std::string_view executable,
                              std::span<const std::string> arguments)
{
    const std::string_view file = baseName(executable);
    const std::string_view called = arguments.empty() ? std::string_view{} : calledAs(arguments[0]);
    if (isMultiCall(file) && called == file && arguments.size() > 1 &&
        !arguments[1].starts_with('-') && !baseName(arguments[1]).empty()) {
        return std::string(baseName(arguments[1]));
    }
    for (const std::string_view name : possibleNames(executable, arguments)) {
        if (isCommandNameOf(comm, name)) {
            return std::string(name);
        }
    }
    const auto isShortFor = [file](std::string_view name) {
        return !name.empty() && file.starts_with(name);
    };
    if (isShortFor(comm)) {
        return std::string(comm);
    }
    if (!file.empty()) {
        const bool isCommand = isMultiCall(file) && !called.empty();
        return std::string(isShortFor(called) || isCommand ? called : file);
    }
    if (!comm.empty()) {
        return std::string(comm);
    }
    return called.empty() ? "unknown" : std::string(called);
}

} // namespace Tarnwick
