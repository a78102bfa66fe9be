// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ProcessName.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Tarnwick {
namespace {

using Arguments = std::vector<std::string>;

std::string nameOf(std::string_view comm, std::string_view executable, const Arguments &arguments)
{
    return ProcessName::from(comm, executable, arguments);
}

TEST(ProcessName, IsTheCommandNameOfAnOrdinaryProgram)
{
    EXPECT_EQ(nameOf("sshd", "/usr/sbin/sshd", {"sshd: /usr/sbin/sshd -D [listener]"}), "sshd");
}

TEST(ProcessName, IsCompletedWhereTheKernelCutIt)
{
    EXPECT_EQ(nameOf("systemd-resolve", "/lib/systemd/systemd-resolved",
                     {"/lib/systemd/systemd-resolved"}),
              "systemd-resolved");
}

TEST(ProcessName, IsCompletedFromTheFirstArgumentWhereTheExecutableIsUnknown)
{
    EXPECT_EQ(nameOf("systemd-resolve", "", {"/lib/systemd/systemd-resolved"}), "systemd-resolved");
}

TEST(ProcessName, IsTheExecutablesWhenARuntimeRenamedItsMainThread)
{
    EXPECT_EQ(nameOf("MainThread", "/usr/bin/node", {"node", "server.js"}), "node");
}

TEST(ProcessName, IsTheShorterOneThatAVersionedExecutableWasCalledBy)
{
    EXPECT_EQ(nameOf("python3", "/usr/bin/python3.11", {"python3", "-m", "http.server"}),
              "python3");
    EXPECT_EQ(nameOf("worker", "/usr/bin/python3.11", {"/usr/bin/python3", "x.py"}), "python3");
}

TEST(ProcessName, IsTheScriptsWhenAScriptWasRun)
{
    EXPECT_EQ(nameOf("gunicorn", "/usr/bin/python3.11", {"/usr/bin/python3", "/usr/bin/gunicorn"}),
              "gunicorn");
    EXPECT_EQ(
        nameOf("serve.py", "/usr/bin/python3.11", {"/usr/bin/python3", "-u", "/srv/serve.py"}),
        "serve.py");
}

TEST(ProcessName, IsTheLinksWhenTheExecutableWasCalledThroughOne)
{
    EXPECT_EQ(nameOf("redis-server", "/usr/bin/redis-check-rdb",
                     {"/usr/bin/redis-server 127.0.0.1:6379"}),
              "redis-server");
}

TEST(ProcessName, IsTheCommandsWithinAMultiCallBinary)
{
    EXPECT_EQ(nameOf("busybox", "/bin/busybox", {"busybox", "httpd", "-f"}), "httpd");
    EXPECT_EQ(nameOf("httpd", "/bin/busybox", {"httpd", "-f"}), "httpd");
    EXPECT_EQ(nameOf("busybox", "/bin/busybox", {"busybox", "--help"}), "busybox");
    EXPECT_EQ(nameOf("renamed", "/bin/busybox", {"/usr/sbin/httpd"}), "httpd");
}

TEST(ProcessName, IsTheMultiCallBinarysWhereItIsCalledByNoName)
{
    EXPECT_EQ(nameOf("busybox", "/bin/busybox", {"busybox", "/srv/"}), "busybox");
    EXPECT_EQ(nameOf("renamed", "/bin/busybox", {"/"}), "busybox");
    EXPECT_EQ(nameOf("renamed", "/bin/busybox", {}), "busybox");
}

TEST(ProcessName, LeavesOutTheDashOfALoginShell)
{
    EXPECT_EQ(nameOf("bash", "", {"-bash"}), "bash");
}

TEST(ProcessName, LeavesOutTheColonOfATitle)
{
    EXPECT_EQ(nameOf("nginx", "", {"nginx: master process /usr/sbin/nginx"}), "nginx");
}

TEST(ProcessName, IsTheCommandNameOfAThreadOfTheKernel)
{
    EXPECT_EQ(nameOf("kworker/0:1", "", {}), "kworker/0:1");
}

TEST(ProcessName, MayHoldParenthesesAndBlanks)
{
    EXPECT_EQ(nameOf("a) b (c", "/tmp/a) b (c", {"/tmp/a) b (c"}), "a) b (c");
}

TEST(ProcessName, IsNeverEmpty)
{
    EXPECT_EQ(nameOf("", "", {}), "unknown");
    EXPECT_EQ(nameOf("", "/usr/bin/node", {"node"}), "node");
    EXPECT_EQ(nameOf("", "", {"/opt/server"}), "server");
}

TEST(ProcessName, DoesNotTakeAnArgumentBehindTheScriptForTheProgram)
{
    EXPECT_EQ(nameOf("renamed", "/usr/bin/node", {"node", "a.js", "b", "renamed"}), "node");
}

} // namespace
} // namespace Tarnwick
