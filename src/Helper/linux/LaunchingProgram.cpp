// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/LaunchingProgram.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace Tarnwick {

namespace {

using Kind = LaunchingProgram::Kind;

constexpr auto shells = std::to_array<std::string_view>(
    {"sh",   "bash", "dash",   "zsh",  "ksh",  "fish",  "mksh",  "ash",  "rbash",
     "rksh", "rzsh", "ksh93",  "lksh", "oksh", "loksh", "pdksh", "posh", "yash",
     "csh",  "tcsh", "elvish", "nu",   "osh",  "xonsh", "pwsh",  "zsh5"});

/// Those that become their command by execve(2) as a rule stand here too: they fork in some uses,
/// or on some systems.
constexpr auto wrappers = std::to_array<std::string_view>(
    {// coreutils, util-linux, procps
     "timeout", "env", "nice", "nohup", "setsid", "stdbuf", "chroot", "ionice", "chrt", "taskset",
     "prlimit", "setarch", "setpriv", "unshare", "nsenter", "script", "flock", "time", "xargs",
     "choom", "uclampset",
     // as another user
     "sudo", "sudo-rs", "doas", "su", "runuser", "run0", "pkexec", "sg", "gosu", "su-exec",
     "setuidgid",
     // of a service manager or a session
     "systemd-run", "systemd-inhibit", "systemd-cat", "dbus-run-session", "dbus-launch",
     "gnome-session-inhibit", "xvfb-run", "with-contenv",
     // the first process of a container
     "tini", "tini-static", "docker-init", "dumb-init", "catatonit",
     // limits, boundaries and conditions
     "chpst", "softlimit", "cpulimit", "numactl", "firejail", "bwrap", "proot", "fakeroot",
     "faketime", "proxychains4", "torsocks", "unbuffer", "chronic"});

constexpr auto hosts = std::to_array<std::string_view>(
    {// debuggers and tracers
     "gdb", "gdbserver", "gdb-multiarch", "cgdb", "rr", "udb", "lldb", "lldb-server", "lldb-mi",
     "lldb-dap", "lldb-vscode", "codelldb", "dlv", "dlv-dap", "vsdbg", "netcoredbg", "OpenDebugAD7",
     "strace", "ltrace", "perf", "uftrace", "valgrind", "heaptrack", "pdb", "pdb3", "ipdb", "ipdb3",
     "pudb", "pudb3", "debugpy", "rdbg", "jdb",
     // editors and development environments
     "vi", "vim", "vim.basic", "vim.tiny", "vim.nox", "vim.gtk", "vim.gtk3", "vim.athena",
     "vim.motif", "nvim", "gvim", "emacs", "emacs-gtk", "emacs-nox", "emacs-pgtk", "emacs-lucid",
     "emacsclient", "kak", "hx", "helix", "kate", "kwrite", "kdevelop", "gedit",
     "gnome-text-editor", "gnome-builder", "geany", "qtcreator", "code", "code-insiders",
     "code-oss", "codium", "vscodium", "code-server", "cursor", "windsurf", "zed", "zed-editor",
     "zeditor", "subl", "sublime_text", "eclipse", "spyder", "rstudio", "lapce",
     // desktops and what starts programs from them
     "gnome-shell", "plasmashell", "krunner", "kded5", "kded6", "xfce4-session", "xfce4-panel",
     "xfdesktop", "mate-session", "mate-panel", "cinnamon", "lxsession", "lxpanel", "openbox", "i3",
     "sway", "nautilus", "dolphin",
     // services that start others
     "systemd", "init", "runsv", "runsvdir", "s6-supervise", "s6-svscan", "dbus-daemon",
     "dbus-broker", "sshd", "cron", "crond", "atd", "inetd", "xinetd", "dockerd", "containerd",
     "containerd-shim", "conmon"});

/// A part of a path in which everything belongs to a development environment: the runtimes that
/// these bring along have names that say nothing.
constexpr auto hostFolders = std::to_array<std::string_view>(
    {"/jbr/bin/", "/.vscode-server/", "/.vscode-server-insiders/", "/.vscodium-server/",
     "/.cursor-server/", "/.windsurf-server/", "/lib/code-server/", "/.zed_server/"});

/// A debugger that an interpreter runs: the beginning of the interpreter's name, and the arguments
/// that follow it.
struct ScriptedDebugger
{
    std::string_view interpreter;
    std::string_view argument;
    std::string_view next; ///< empty where the first argument decides
};

constexpr auto scriptedDebuggers = std::to_array<ScriptedDebugger>({
    {"node", "inspect", {}},
    {"python", "-m", "pdb"},
    {"python", "-m", "ipdb"},
    {"python", "-m", "pudb"},
    {"python", "-m", "debugpy"},
    {"perl", "-d", {}},
});

/// Folders of the debugger that development environments start Python programs with.
constexpr auto debuggerScripts =
    std::to_array<std::string_view>({"/debugpy", "/debugpy/launcher", "/debugpy/adapter"});

template<std::size_t count>
bool isOneOf(const std::array<std::string_view, count> &names, std::string_view name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::string_view fileName(std::string_view path)
{
    return path.substr(path.rfind('/') + 1);
}

/// @p name without a version behind a hyphen: "lldb-14", "emacs-28.2".
std::string_view withoutVersion(std::string_view name)
{
    const std::size_t end = name.find_last_not_of("0123456789.");
    const bool isVersion =
        end != std::string_view::npos && end + 1 < name.size() && end > 0 && name[end] == '-';
    return isVersion ? name.substr(0, end) : name;
}

std::string_view takeArgument(std::string_view &commandLine)
{
    const std::string_view argument = commandLine.substr(0, commandLine.find('\0'));
    commandLine.remove_prefix(std::min(commandLine.size(), argument.size() + 1));
    return argument;
}

bool isScriptedDebugger(std::string_view program, std::string_view first, std::string_view second)
{
    const bool isListed = std::any_of(
        scriptedDebuggers.begin(), scriptedDebuggers.end(), [&](const ScriptedDebugger &debugger) {
            return program.starts_with(debugger.interpreter) && first == debugger.argument &&
                   (debugger.next.empty() || second == debugger.next);
        });
    const bool isScript =
        std::any_of(debuggerScripts.begin(), debuggerScripts.end(),
                    [first](std::string_view script) { return first.ends_with(script); });
    return isListed || (isScript && program.starts_with("python"));
}

bool isInHostFolder(std::string_view executable)
{
    return std::any_of(hostFolders.begin(), hostFolders.end(),
                       [executable](std::string_view folder) {
                           return executable.find(folder) != std::string_view::npos;
                       });
}

} // namespace

LaunchingProgram::Kind LaunchingProgram::ofName(std::string_view name)
{
    name = withoutVersion(name);
    if (isOneOf(shells, name)) {
        return Kind::Shell;
    }
    if (isOneOf(wrappers, name)) {
        return Kind::Wrapper;
    }
    return isOneOf(hosts, name) ? Kind::Host : Kind::None;
}

LaunchingProgram::Kind LaunchingProgram::ofProcess(std::string_view comm,
                                                   std::string_view executable,
                                                   std::string_view commandLine)
{
    std::string_view program = fileName(takeArgument(commandLine));
    // A login shell's name begins with a hyphen (execve(2), login(1)).
    program.remove_prefix(program.starts_with('-') ? 1 : 0);
    const std::string_view first = takeArgument(commandLine);
    const std::string_view second = takeArgument(commandLine);
    const std::array kinds{ofName(comm), ofName(fileName(executable)), ofName(program)};
    const auto has = [&kinds](Kind kind) {
        return std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
    };
    if (has(Kind::Host) || isInHostFolder(executable) ||
        isScriptedDebugger(program, first, second)) {
        return Kind::Host;
    }
    return has(Kind::Shell) ? Kind::Shell : has(Kind::Wrapper) ? Kind::Wrapper : Kind::None;
}

} // namespace Tarnwick
