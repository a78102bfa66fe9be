// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Link/BusCaller.h"
#include "tests/Support/ChildProcess.h"
#include "tests/Support/HelperProgram.h"
#include "tests/Support/PrivateBus.h"
#include "tests/Support/Puppet.h"
#include "tests/Support/RunningProgram.h"
#include "tests/Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <poll.h>
#include <sys/syscall.h>

namespace Tarnwick {
namespace {

constexpr const char *serviceFile = "share/dbus-1/services/com.velmora.tarnwick.helper.service";

/// The helper as it is installed, started by the bus for whoever asks.
class HelperActivation : public ::testing::TestWithParam<const char *>
{
protected:
    /// In a folder with the test's parameter as its name.
    void SetUp() override
    {
        const auto installed = run({cmakeProgram, "--install", buildFolder, "--prefix",
                                    prefix().string(), "--component", "Helper"});
        ASSERT_EQ(installed.exitCode, 0) << installed.errors;
        std::filesystem::copy(prefix() / serviceFile, m_bus.services());
    }

    void TearDown() override { endHelper(); }

    [[nodiscard]] std::filesystem::path prefix() const { return m_folder.path() / GetParam(); }

    /// The helper that runs now, which the test's bus has started, ends.
    void endHelper()
    {
        const std::string name = m_caller.owner("com.velmora.tarnwick.helper");
        if (name.empty()) {
            return;
        }
        const FileDescriptor helper(
            static_cast<int>(::syscall(SYS_pidfd_open, m_caller.process(name), 0)));
        ::syscall(SYS_pidfd_send_signal, helper.get(), SIGTERM, nullptr, 0);
        EXPECT_TRUE(m_caller.awaitNoHelper());
    }

    /// What busctl(1) writes when a person asks the helper something.
    [[nodiscard]] RunningProgram::Result ask(const std::vector<std::string> &what) const
    {
        std::vector<std::string> command{"busctl",
                                         "--user",
                                         "call",
                                         "com.velmora.tarnwick.helper",
                                         "/com/velmora/tarnwick/helper",
                                         "com.velmora.tarnwick.helper"};
        command.insert(command.end(), what.begin(), what.end());
        ProgramSetup setup;
        setup.environment = m_bus.environment();
        return run(command, setup);
    }

    TemporaryFolder m_folder;
    PrivateBus m_bus;
    BusCaller m_caller{m_bus.address()};
};

/// What busctl(1) writes of an array of bytes: "ay", their number, and each of them.
std::string bytesOf(const std::string &output)
{
    std::istringstream words(output);
    std::string type;
    std::size_t count = 0;
    words >> type >> count;
    std::string bytes;
    for (int byte = 0; words >> byte;) {
        bytes += static_cast<char>(byte);
    }
    return type == "ay" && bytes.size() == count ? bytes : std::string();
}

TEST_P(HelperActivation, IsStartedWhenSomebodyAsks)
{
    EXPECT_EQ(m_caller.owner("com.velmora.tarnwick.helper"), "");
    const BusCaller::Answer answer = m_caller.list();
    EXPECT_TRUE(answer.records().has_value()) << answer.error;
    const std::int32_t helper = m_caller.process("com.velmora.tarnwick.helper");
    EXPECT_EQ(std::filesystem::read_symlink("/proc/" + std::to_string(helper) + "/exe"),
              prefix() / "libexec/tarnwick-helper");
}

TEST_P(HelperActivation, IsStartedAgainAfterItHasEnded)
{
    ASSERT_TRUE(m_caller.list().records().has_value());
    const std::string first = m_caller.owner("com.velmora.tarnwick.helper");
    endHelper();
    ASSERT_TRUE(m_caller.list().records().has_value());
    EXPECT_NE(m_caller.owner("com.velmora.tarnwick.helper"), first);
}

TEST_P(HelperActivation, AnswersAPersonAtATerminal)
{
    Puppet server;
    const int port = server.listen().port;
    const auto listing = ask({"ListListeningPorts"});
    EXPECT_EQ(listing.exitCode, 0) << listing.errors;
    const std::string payload = bytesOf(listing.output);
    EXPECT_NE(payload.find("\"port\":" + std::to_string(port) + ","), std::string::npos) << payload;
    EXPECT_EQ(ask({"KillProcess", "i", std::to_string(server.pid())}).output, "i 0\n");
    EXPECT_TRUE(server.hasEnded());
    EXPECT_EQ(ask({"KillProcess", "i", std::to_string(server.pid())}).output, "i 3\n");
}

TEST_P(HelperActivation, IsDescribedForOtherPrograms)
{
    EXPECT_TRUE(std::filesystem::exists(prefix() /
                                        "share/dbus-1/interfaces/com.velmora.tarnwick.helper.xml"));
}

INSTANTIATE_TEST_SUITE_P(Folders, HelperActivation,
                         ::testing::Values("usr", "my programs",
                                           "Ann's \"$HOME\" `&` #1 %h (für; alle) * ~"),
                         [](const auto &parameter) { return std::to_string(parameter.index); });

} // namespace
} // namespace Tarnwick
