// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/LaunchingProgram.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Tarnwick {
namespace {

using Kind = LaunchingProgram::Kind;

/// The kind of a process with @p arguments; @p comm is what the kernel made of @p executable.
Kind kindOf(const std::vector<std::string> &arguments, const std::string &executable = {},
            const std::string &comm = {})
{
    std::string commandLine;
    for (const std::string &argument : arguments) {
        commandLine += argument + '\0';
    }
    return LaunchingProgram::ofProcess(comm, executable, commandLine);
}

TEST(LaunchingProgram, IsTakenByItsName)
{
    for (const char *shell : {"sh", "bash", "dash", "zsh", "fish", "ash", "tcsh", "ksh93", "nu"}) {
        EXPECT_EQ(LaunchingProgram::ofName(shell), Kind::Shell) << shell;
    }
    for (const char *wrapper : {"timeout", "env", "nice", "nohup", "setsid", "sudo", "time",
                                "stdbuf", "doas", "ionice", "xargs", "systemd-inhibit", "tini"}) {
        EXPECT_EQ(LaunchingProgram::ofName(wrapper), Kind::Wrapper) << wrapper;
    }
    for (const char *host : {"gdb", "lldb", "strace", "code", "nvim", "emacs", "plasmashell",
                             "systemd", "cron", "vim.basic"}) {
        EXPECT_EQ(LaunchingProgram::ofName(host), Kind::Host) << host;
    }
    for (const char *command : {"npm", "node", "make", "python3", "concurrently", "nodemon",
                                "cargo", "shop", "bashful", "codex", "environment", ""}) {
        EXPECT_EQ(LaunchingProgram::ofName(command), Kind::None) << command;
    }
}

TEST(LaunchingProgram, MayHaveItsVersionInItsName)
{
    EXPECT_EQ(LaunchingProgram::ofName("zsh-5.9"), Kind::Shell);
    EXPECT_EQ(LaunchingProgram::ofName("lldb-14"), Kind::Host);
    EXPECT_EQ(LaunchingProgram::ofName("emacs-28.2"), Kind::Host);
    EXPECT_EQ(LaunchingProgram::ofName("code.py"), Kind::None);
    EXPECT_EQ(LaunchingProgram::ofName("-5"), Kind::None);
    EXPECT_EQ(LaunchingProgram::ofName("node-20"), Kind::None);
}

TEST(LaunchingProgram, IsTheInterpreterOfAScript)
{
    EXPECT_EQ(kindOf({"/bin/bash", "./start.sh"}, "/usr/bin/bash", "start.sh"), Kind::Shell);
    EXPECT_EQ(kindOf({"/bin/sh", "./start.sh"}, "/usr/bin/busybox", "start.sh"), Kind::Shell);
    EXPECT_EQ(kindOf({"/usr/bin/python3", "./sh.py"}, "/usr/bin/python3.11", "sh.py"), Kind::None);
}

TEST(LaunchingProgram, IsFoundWhereItsExecutableCannotBeRead)
{
    EXPECT_EQ(kindOf({"sudo", "node", "server.js"}, "", "sudo"), Kind::Wrapper);
    EXPECT_EQ(kindOf({"/usr/bin/dbus-run-session", "shop"}, "", "dbus-run-sessio"), Kind::Wrapper);
    EXPECT_EQ(kindOf({"-bash"}, "", "bash"), Kind::Shell);
    EXPECT_EQ(kindOf({"-zsh"}), Kind::Shell);
    EXPECT_EQ(kindOf({}), Kind::None);
}

TEST(LaunchingProgram, IsFoundInAProgramOfManyNames)
{
    EXPECT_EQ(kindOf({"timeout", "60", "node"}, "/usr/bin/busybox", "timeout"), Kind::Wrapper);
    EXPECT_EQ(kindOf({"httpd", "-f"}, "/usr/bin/busybox", "httpd"), Kind::None);
}

TEST(LaunchingProgram, IsNoCommandThatHasAShellAmongItsArguments)
{
    EXPECT_EQ(kindOf({"npm run dev"}, "/usr/bin/node", "npm run dev"), Kind::None);
    EXPECT_EQ(kindOf({"node", "/usr/bin/env"}, "/usr/bin/node", "node"), Kind::None);
    EXPECT_EQ(kindOf({"make", "bash"}, "/usr/bin/make", "make"), Kind::None);
}

TEST(LaunchingProgram, IsADevelopmentEnvironmentWithARuntimeOfItsOwn)
{
    EXPECT_EQ(kindOf({"/opt/idea/jbr/bin/java", "com.intellij.idea.Main"}, "/opt/idea/jbr/bin/java",
                     "java"),
              Kind::Host);
    EXPECT_EQ(kindOf({"node", "bootstrap-fork", "--type=extensionHost"},
                     "/home/ann/.vscode-server/bin/0ee08df0/node", "node"),
              Kind::Host);
    EXPECT_EQ(kindOf({"java", "-jar", "shop.jar"}, "/usr/lib/jvm/java-17/bin/java", "java"),
              Kind::None);
}

TEST(LaunchingProgram, IsADebuggerThatAnInterpreterRuns)
{
    EXPECT_EQ(kindOf({"node", "inspect", "server.js"}), Kind::Host);
    EXPECT_EQ(kindOf({"/usr/bin/python3.11", "-m", "pdb", "app.py"}), Kind::Host);
    EXPECT_EQ(kindOf({"python", "-m", "debugpy", "--listen", "5678", "app.py"}), Kind::Host);
    EXPECT_EQ(
        kindOf({"/usr/bin/python3",
                "/home/ann/.vscode/extensions/ms-python.debugpy/bundled/libs/debugpy/launcher",
                "45763", "--", "app.py"}),
        Kind::Host);
    EXPECT_EQ(kindOf({"node", "--inspect", "server.js"}), Kind::None) << "debugged by others";
    EXPECT_EQ(kindOf({"python3", "-m", "http.server"}), Kind::None);
}

} // namespace
} // namespace Tarnwick
