// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ProcessManagers.h"

#include "Shared/ShellQuoting.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace Tarnwick {

namespace {

using Kind = Supervisor::Kind;
using Environment = std::span<const std::string>;

std::string_view fileName(std::string_view path)
{
    return path.substr(path.rfind('/') + 1);
}

/// A word for a shell: as it is where it needs no quotes.
std::string word(std::string_view text)
{
    constexpr std::string_view plain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._-:@+=,";
    const bool isPlain = !text.empty() && text.find_first_not_of(plain) == std::string_view::npos;
    return isPlain ? std::string(text) : ShellQuoting::quote(text);
}

std::string_view variable(Environment environment, std::string_view name)
{
    for (const std::string_view entry : environment) {
        if (entry.starts_with(name) && entry.substr(name.size()).starts_with('=')) {
            return entry.substr(name.size() + 1);
        }
    }
    return {};
}

/// The program that the process runs: the script where the first argument is an interpreter.
std::string_view program(const ParentProcess &parent)
{
    constexpr std::array<std::string_view, 8> interpreters{"node", "nodejs", "ruby", "perl",
                                                           "bun",  "deno",   "php",  "dotnet"};
    const std::vector<std::string> &arguments = parent.arguments;
    if (arguments.empty()) {
        return {};
    }
    const std::string_view first = fileName(arguments.front());
    const bool isInterpreter =
        first.starts_with("python") ||
        std::find(interpreters.begin(), interpreters.end(), first) != interpreters.end();
    for (std::size_t at = 1; isInterpreter && at < arguments.size(); ++at) {
        if (arguments[at] == "-m" && at + 1 < arguments.size()) {
            return arguments[at + 1];
        }
        if (!arguments[at].starts_with('-')) {
            return fileName(arguments[at]);
        }
    }
    return first;
}

bool hasArgument(const ParentProcess &parent, std::string_view wanted)
{
    return std::any_of(
        parent.arguments.begin(), parent.arguments.end(), [wanted](const std::string &argument) {
            return std::string_view(argument).substr(0, argument.find('=')) == wanted;
        });
}

std::string killOf(const ParentProcess &parent)
{
    return "kill " + std::to_string(parent.pid);
}

/// The daemon of pm2 calls itself "PM2 v5.3.0: God Daemon (/home/ada/.pm2)", and gives what it
/// starts its name and number.
std::optional<Supervisor> pm2(const ParentProcess &parent, Environment environment)
{
    const bool isDaemon = !parent.arguments.empty() &&
                          parent.arguments.front().starts_with("PM2 v") &&
                          parent.arguments.front().find("God Daemon") != std::string::npos;
    if (!isDaemon) {
        return std::nullopt;
    }
    const std::string_view name = variable(environment, "name");
    const std::string_view number = variable(environment, "pm_id");
    const std::string_view target = name.empty() ? number : name;
    return Supervisor{Kind::ProcessManager, "pm2", parent.pid,
                      target.empty() ? std::string() : "pm2 stop " + word(target)};
}

std::optional<Supervisor> supervisord(const ParentProcess &parent, Environment environment)
{
    if (program(parent) != "supervisord") {
        return std::nullopt;
    }
    const std::string_view name = variable(environment, "SUPERVISOR_PROCESS_NAME");
    const std::string_view group = variable(environment, "SUPERVISOR_GROUP_NAME");
    const std::string target = group.empty() || group == name
                                   ? std::string(name)
                                   : std::string(group) + ':' + std::string(name);
    return Supervisor{Kind::ProcessManager, "supervisord", parent.pid,
                      name.empty() ? std::string() : "supervisorctl stop " + word(target)};
}

/// The managers that have a process for each service, which works in the service's folder.
std::optional<Supervisor> serviceFolder(const ParentProcess &parent)
{
    struct Manager
    {
        std::string_view process;
        std::string_view name;
        std::string_view command;
    };
    constexpr std::array<Manager, 3> managers{{{"runsv", "runit", "sv down "},
                                               {"s6-supervise", "s6", "s6-svc -d "},
                                               {"supervise", "daemontools", "svc -d "}}};
    const std::string_view running = program(parent);
    const auto found =
        std::find_if(managers.begin(), managers.end(),
                     [running](const Manager &one) { return one.process == running; });
    if (found == managers.end()) {
        return std::nullopt;
    }
    const std::string folder = parent.directory.empty() && parent.arguments.size() > 1
                                   ? parent.arguments[1]
                                   : parent.directory;
    return Supervisor{Kind::ProcessManager, std::string(found->name), parent.pid,
                      folder.empty() ? std::string() : std::string(found->command) + word(folder)};
}

/// supervise-daemon(8) of OpenRC: supervise-daemon NAME --start ...
std::optional<Supervisor> openRc(const ParentProcess &parent)
{
    if (program(parent) != "supervise-daemon" || parent.arguments.size() < 2) {
        return std::nullopt;
    }
    return Supervisor{Kind::ProcessManager, "supervise-daemon", parent.pid,
                      "rc-service " + word(parent.arguments[1]) + " stop"};
}

/// What starts a program anew when it ends or a file changes, in a terminal: its end is the end of
/// what it runs.
std::optional<Supervisor> watcher(const ParentProcess &parent)
{
    constexpr std::array<std::string_view, 28> programs{"nodemon",      "nodemon.js",
                                                        "cargo-watch",  "watchexec",
                                                        "bacon",        "air",
                                                        "foreman",      "honcho",
                                                        "overmind",     "hivemind",
                                                        "entr",         "reflex",
                                                        "watchmedo",    "watchfiles",
                                                        "ts-node-dev",  "tsnd",
                                                        "forever",      "dotnet-watch.dll",
                                                        "dotnet-watch", "supervisor",
                                                        "gowatch",      "CompileDaemon",
                                                        "modd",         "fresh",
                                                        "wgo",          "gow",
                                                        "circusd",      "dotnet-watch.exe"};
    const std::string_view running = program(parent);
    const bool isKnown = std::find(programs.begin(), programs.end(), running) != programs.end();
    // Runtimes that watch themselves run the program in a process below.
    constexpr std::array<std::string_view, 5> runtimes{"node", "nodejs", "bun", "deno", "tsx"};
    const std::string_view first =
        parent.arguments.empty() ? std::string_view() : fileName(parent.arguments.front());
    const bool watches =
        (std::find(runtimes.begin(), runtimes.end(), first) != runtimes.end() &&
         (hasArgument(parent, "--watch") || hasArgument(parent, "--watch-path"))) ||
        ((running == "tsx" || running == "cli.mjs") && hasArgument(parent, "watch")) ||
        (first == "dotnet" && parent.arguments.size() > 1 && parent.arguments[1] == "watch") ||
        (first.starts_with("foreman:") || first.starts_with("foreman "));
    if (!isKnown && !watches) {
        return std::nullopt;
    }
    if (running == "overmind") {
        return Supervisor{Kind::Watcher, "overmind", parent.pid, "overmind quit"};
    }
    const std::string name = isKnown ? std::string(running.substr(0, running.find('.')))
                                     : std::string(first.substr(0, first.find_first_of(": "))) +
                                           (first.starts_with("foreman") ? "" : " --watch");
    return Supervisor{Kind::Watcher, name, parent.pid, killOf(parent)};
}

/// A shell that was given a script or a command, other than one that a person types into.
std::optional<Supervisor> shell(const ParentProcess &parent)
{
    constexpr std::array<std::string_view, 9> shells{"sh",   "bash", "dash", "zsh",    "ksh",
                                                     "fish", "mksh", "ash",  "busybox"};
    const std::string_view first =
        parent.arguments.empty() ? std::string_view() : fileName(parent.arguments.front());
    const bool isShell = std::find(shells.begin(), shells.end(), first) != shells.end() &&
                         std::find(shells.begin(), shells.end(), parent.comm) != shells.end();
    // A script that is run by its own name has that for its comm, and the shell before it.
    const bool isScript =
        std::find(shells.begin(), shells.end(), first) != shells.end() &&
        parent.arguments.size() > 1 &&
        fileName(parent.arguments[1]).substr(0, parent.comm.size()) == parent.comm;
    const bool isGivenWork = std::any_of(
        parent.arguments.begin() + (parent.arguments.empty() ? 0 : 1), parent.arguments.end(),
        [](const std::string &argument) { return !argument.starts_with('-') || argument == "-c"; });
    if (!(isShell || isScript) || !isGivenWork) {
        return std::nullopt;
    }
    return Supervisor{Kind::Shell, std::string(first), parent.pid, killOf(parent)};
}

} // namespace

std::optional<Supervisor> ProcessManagers::recognise(const ParentProcess &parent,
                                                     std::span<const std::string> environment)
{
    if (std::optional<Supervisor> found = pm2(parent, environment)) {
        return found;
    }
    if (std::optional<Supervisor> found = supervisord(parent, environment)) {
        return found;
    }
    if (std::optional<Supervisor> found = serviceFolder(parent)) {
        return found;
    }
    if (std::optional<Supervisor> found = openRc(parent)) {
        return found;
    }
    if (std::optional<Supervisor> found = watcher(parent)) {
        return found;
    }
    return shell(parent);
}

} // namespace Tarnwick
