// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Installer/ApplicationsFolder.h"
#include "Installer/CopyReceiver.h"
#include "Installer/Leftovers.h"
#include "Installer/PipeReader.h"
#include "Shared/Subprocess.h"
#include "Shared/WriteAll.h"
#include "tests/Installer/InstallFixture.h"
#include "tests/Installer/MountedFolder.h"
#include "tests/Support/FailingCalls.h"
#include "tests/Support/OtherUser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <iostream>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

namespace fs = std::filesystem;
using testing::AnyOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

/// Installations while the system is short of something or a disk fails.
class ResourceErrorTest : public InstallFixture
{
protected:
    static constexpr int minLimit = 4; ///< with which a program that is linked dynamically starts
    static constexpr int maxLimit = 40;

    ResourceErrorTest()
    {
        static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
        // What started the tests may leave descriptors open, which would count.
        static_cast<void>(::close_range(3, ~0U, CLOSE_RANGE_CLOEXEC));
        haveOlderCopy();
    }

    /// The first words of a command whose soft and hard limits of descriptors are @p limit.
    static std::vector<std::string> limited(int limit)
    {
        const std::string number = std::to_string(limit);
        return {"prlimit", "--nofile=" + number + ":" + number, "--"};
    }

    [[nodiscard]] bool isSetAsideForGood() const
    {
        const fs::directory_iterator entries(m_applications);
        return std::any_of(begin(entries), end(entries), [](const fs::directory_entry &entry) {
            return entry.path().string().find(".old-") != std::string::npos;
        });
    }

    /// The failure of a receiver in this process that has everything sent at once, and in which the
    /// watched call that comes after @p skipped others fails.
    CopyProtocol::Failure receive(FailingCalls &calls, unsigned skipped, int code)
    {
        std::array<int, 2> ends{};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
            return "no pipe";
        }
        const FileDescriptor input(ends[0]);
        FileDescriptor sender(ends[1]);
        const FileDescriptor output(::open("/dev/null", O_WRONLY | O_CLOEXEC));
        static_cast<void>(writeAll(sender.get(), m_copy));
        sender.reset();
        calls.fail(skipped, code);
        CopyReceiver receiver(m_applications, m_target.filename());
        return receiver.receive(input.get(), output.get());
    }

    const std::string m_copy = "tarnwick-copy 1\n5 755 bin/tarnwick\nhellocomplete\ncommit\n";
};

TEST_F(ResourceErrorTest, ASoftLimitOfDescriptorsIsRaised)
{
    m_launcher = {"prlimit", "--nofile=" + std::to_string(minLimit) + ":", "--"};
    EXPECT_EQ(install(), 0) << m_said;
    EXPECT_EQ(m_said, "");
    EXPECT_EQ(read(m_target / "bin" / "tarnwick"), programText());
}

TEST_F(ResourceErrorTest, TooFewDescriptorsOfTheSenderAreSaidToBeThat)
{
    const Contents before = contents(m_applications);
    const std::string tooMany = "Too many open files\n";
    int limit = minLimit;
    for (m_said = tooMany; limit < maxLimit && m_said.ends_with(tooMany); ++limit) {
        m_launcher = limited(limit);
        if (install() != 0) {
            EXPECT_EQ(contents(m_applications), before) << limit << ": " << m_said;
        }
    }
    EXPECT_GT(limit, minLimit + 2);
    // From here on it is the scripts in the place of pkexec and of the copy that lack some.
    EXPECT_THAT(m_said, AnyOf("", HasSubstr("the other half ended with status"),
                              HasSubstr("the copy does not run")));
}

TEST_F(ResourceErrorTest, TooFewDescriptorsOfTheReceiverAreSaidToBeThat)
{
    const Contents before = contents(m_applications);
    bool isInstalled = false;
    for (int limit = minLimit; limit < maxLimit && !isInstalled; ++limit) {
        std::vector<std::string> command = limited(limit);
        for (const std::string &word : {std::string(installProgram), std::string("--receive"),
                                        m_applications.string(), m_target.filename().string()}) {
            command.push_back(word);
        }
        std::optional<Subprocess> receiver = Subprocess::start(command);
        ASSERT_TRUE(receiver);
        static_cast<void>(writeAll(receiver->input().get(), m_copy));
        receiver->input().reset();
        PipeReader replies(receiver->output().get());
        std::string last;
        while (const std::optional<std::string> line = replies.line()) {
            last = *line;
        }
        isInstalled = receiver->awaitEnd().isSuccess();
        if (!isInstalled) {
            EXPECT_THAT(last, AllOf(StartsWith("failed "), EndsWith(": Too many open files")))
                << limit;
            EXPECT_EQ(contents(m_applications), before) << limit;
        }
    }
    EXPECT_TRUE(isInstalled);
    EXPECT_EQ(contents(m_applications).size(), 4U); // the copy, its marker, bin and the program
}

TEST_F(ResourceErrorTest, EveryFailureOfASystemCallIsSaidInItsWordsAndLosesNothing)
{
    constexpr std::array<long, 14> calls{
        SYS_openat,     SYS_read,      SYS_write,   SYS_getdents64, SYS_fstat,
        SYS_newfstatat, SYS_fgetxattr, SYS_mkdirat, SYS_renameat2,  SYS_unlinkat,
        SYS_fchown,     SYS_fchmod,    SYS_flock,   SYS_syncfs};
    constexpr int noFilter = 125;
    const int result = inOwnProcess([&] {
        try {
            // In memory, where nothing has to wait for a disk.
            const MountedFolder mount(m_applications, "mode=755");
            FailingCalls failing(calls);
            for (const int code : {ENFILE, EIO}) {
                const std::string words = ": " + std::generic_category().message(code);
                bool failed = true;
                for (unsigned skipped = 0; failed; ++skipped) {
                    for (const auto &entry : fs::directory_iterator(m_applications)) {
                        fs::remove_all(entry.path());
                    }
                    haveOlderCopy();
                    const Contents before = contents(m_applications);
                    const CopyProtocol::Failure failure = receive(failing, skipped, code);
                    const std::optional<long> call = failing.stop();
                    failed = call.has_value();
                    const bool isRight =
                        failure ? failure->ends_with(words) && contents(m_applications) == before
                                : read(m_target / "bin" / "tarnwick") == "hello";
                    if (!isRight || isSetAsideForGood()) {
                        std::cerr << "system call " << FailingCalls::name(call.value_or(-1))
                                  << ", skipped " << skipped << ", errno " << code << ": "
                                  << failure.value_or("installed") << '\n';
                        return 2;
                    }
                }
            }
            return 0;
        } catch (const std::runtime_error &) {
            return noFilter;
        }
    });
    if (result == noFilter) {
        GTEST_SKIP() << "no filter of system calls to be had";
    }
    EXPECT_EQ(result, 0);
}

TEST_F(ResourceErrorTest, AnOlderCopyThatCannotBeRemovedStaysForTheNextInstallation)
{
    const std::string name = ".tarnwick-abc012";
    fs::rename(m_target, m_applications / name);
    const Contents before = contents(m_applications);
    const int result = inOwnProcess([&] {
        ApplicationsFolder applications(m_applications, m_target.filename());
        if (applications.open()) {
            return 1;
        }
        const std::optional<OlderCopy> copy = applications.copyNamed(name);
        const rlimit none = {.rlim_cur = 0, .rlim_max = 0};
        if (!copy || ::setrlimit(RLIMIT_NOFILE, &none) != 0) {
            return 2;
        }
        Leftovers::remove(applications, name, *copy);
        return 0;
    });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(contents(m_applications), before);
    EXPECT_EQ(install(), 0) << m_said;
    EXPECT_EQ(m_said, "");
    EXPECT_FALSE(fs::exists(m_applications / name));
    EXPECT_FALSE(isSetAsideForGood());
}

} // namespace
} // namespace Tarnwick
