// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ProcessTerminator.h"
#include "tests/Helper/ControlGroup.h"
#include "tests/Helper/InventoryFixture.h"
#include "tests/Support/InventoryProcess.h"
#include "tests/Support/OtherUser.h"

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

/// What is told of a socket whose holder may not be looked at, when little leads to its owner or
/// what led there changes. Root makes the others' processes and the control groups.
class UncertainOwnerTest : public InventoryFixture
{
protected:
    void SetUp() override
    {
        if (::getuid() != 0) {
            GTEST_SKIP() << "only root can become another user";
        }
    }

    /// A control group of the test's own; a slice is one that strangers share.
    const ControlGroup *make(std::string_view name)
    {
        m_group.emplace(ControlGroup::make(name));
        return m_group->has_value() ? &**m_group : nullptr;
    }

    static Puppet in(const ControlGroup &group, const std::vector<std::string> &arguments)
    {
        Puppet made(Puppet::program(), arguments);
        EXPECT_TRUE(group.take(made.pid()));
        return made;
    }

private:
    std::optional<std::optional<ControlGroup>> m_group;
};

TEST_F(UncertainOwnerTest, IsNobodyWhereAStrangerNamesThePort)
{
    const ControlGroup *group = make("strangers.slice");
    if (group == nullptr) {
        GTEST_SKIP() << "no control group to be had";
    }
    Puppet server = in(*group, {"server"});
    const int port = server.listen().port;
    const Puppet client = in(*group, {"client", "localhost:" + std::to_string(port)});
    EXPECT_EQ(only(listInOwnProcess(becomeOtherUser), port).pid, 0);
}

TEST_F(UncertainOwnerTest, IsTheOneProcessOfAGroupThatStrangersMayShare)
{
    const ControlGroup *group = make("lonely.slice");
    if (group == nullptr) {
        GTEST_SKIP() << "no control group to be had";
    }
    Puppet server = in(*group, {"server"});
    const int port = server.listen().port;
    server.exec(Puppet::program(), {"server", "--port", std::to_string(port)});
    EXPECT_EQ(only(listInOwnProcess(becomeOtherUser), port).pid, server.pid());
}

TEST_F(UncertainOwnerTest, IsTheServerOfAServiceAndNotTheCommandThatRunsIt)
{
    const ControlGroup *group = make("wrapped.service");
    if (group == nullptr) {
        GTEST_SKIP() << "no control group to be had";
    }
    Puppet wrapper = in(*group, {"wrapper"});
    Puppet server = wrapper.fork();
    const int port = server.listen().port;
    const std::vector<std::string> command{"server", "--port", std::to_string(port)};
    server.exec(Puppet::program(), command);
    std::vector<std::string> wrapped{"timeout", "60"};
    wrapped.insert(wrapped.end(), command.begin(), command.end());
    wrapper.exec(Puppet::program(), wrapped);
    EXPECT_EQ(only(listInOwnProcess(becomeOtherUser), port).pid, server.pid());
}

TEST_F(UncertainOwnerTest, IsNeverEndedForItsControlGroup)
{
    const ControlGroup *group = make("pair.service");
    if (group == nullptr) {
        GTEST_SKIP() << "no control group to be had";
    }
    // Both are of the user who asks, but neither may be looked into: the client would be signalled.
    Puppet server = in(*group, {"server"});
    const int port = server.listen().port;
    server.changeUser(otherUser);
    Puppet client = in(*group, {"client", "--target=localhost:" + std::to_string(port)});
    client.changeUser(otherUser);
    ASSERT_EQ(only(listInOwnProcess(becomeOtherUser), port).pid, client.pid());
    const int code = asOtherUser([&client] {
        ListenerInventory inventory;
        static_cast<void>(inventory.list());
        return static_cast<int>(codeOf(terminate(inventory, client.pid())));
    });
    EXPECT_EQ(code, static_cast<int>(KillResultCode::PermissionDenied));
    EXPECT_FALSE(client.hasEnded());
}

TEST_F(UncertainOwnerTest, IsToldByTheNameOfAnyUnitAsUtf8)
{
    const ControlGroup *group = make("caf\xff.service");
    if (group == nullptr) {
        GTEST_SKIP() << "no control group to be had";
    }
    Puppet one = in(*group, {"server"});
    const Puppet other = in(*group, {"server"});
    const int port = one.listen().port;
    const RawPortInfo record = only(listInOwnProcess(becomeOtherUser), port);
    EXPECT_EQ(record.pid, 0);
    EXPECT_TRUE(record.processName.ends_with("caf\xef\xbf\xbd.service")) << record.processName;
}

TEST_F(UncertainOwnerTest, IsNoZombie)
{
    const ControlGroup *group = make("zombie.service");
    if (group == nullptr) {
        GTEST_SKIP() << "no control group to be had";
    }
    Puppet server = in(*group, {"server"});
    const int port = server.listen().port;
    Puppet named = in(*group, {"named", std::to_string(port)});
    InventoryProcess inventory(becomeOtherUser);
    EXPECT_EQ(only(inventory.list(), port).pid, named.pid());
    // It ends, and nobody takes notice.
    EXPECT_THROW(named.exec("/bin/true", {"true"}), std::runtime_error);
    ASSERT_TRUE(named.awaitEnd());
    EXPECT_EQ(only(inventory.list(), port).pid, server.pid());
}

TEST_F(UncertainOwnerTest, IsLookedForAgainWhenWhoWasSeenToHoldItLetsGo)
{
    const ControlGroup *group = make("returned.service");
    if (group == nullptr) {
        GTEST_SKIP() << "no control group to be had";
    }
    Puppet service = in(*group, {"service"});
    const Puppet::Listener listener = service.listen();
    InventoryProcess inventory(becomeOtherUser);
    EXPECT_EQ(only(inventory.list(), listener.port).pid, service.pid());
    Puppet own;
    own.changeUser(otherUser);
    own.exec(Puppet::program(), {"own"});
    service.pass(listener.descriptor, own, 7);
    // Searched for with a pause, which grows.
    const auto isOwn = [&] {
        const Puppet passing; // for the inventory to see that processes come and go
        return only(inventory.list(), listener.port).pid == own.pid();
    };
    int listings = 0;
    while (!isOwn() && listings < 130) {
        ++listings;
    }
    ASSERT_LT(listings, 130);
    own.close(7);
    EXPECT_EQ(only(inventory.list(), listener.port).pid, service.pid());
}

TEST_F(UncertainOwnerTest, IsToldThoughTheDiskOfItsProgramDoesNotAnswer)
{
    const TemporaryCopy folder;
    const std::string program = (folder.folder() / "my server").string();
    // A file system whose server never answers: whoever asks it for a file waits for good.
    const auto mountSilence = [&folder] {
        const int device = ::open("/dev/fuse", O_RDWR);
        const std::string options =
            "fd=" + std::to_string(device) + ",rootmode=40000,user_id=0,group_id=0,allow_other";
        return device >= 0 && ::unshare(CLONE_NEWNS) == 0 &&
               ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
               ::mount("silence", folder.folder().c_str(), "fuse.silence", 0, options.c_str()) == 0;
    };
    if (inOwnProcess([&mountSilence] { return mountSilence() ? 0 : 1; }) != 0) {
        GTEST_SKIP() << "no such file system to be had";
    }
    const ControlGroup *group = make("far.service");
    if (group == nullptr) {
        GTEST_SKIP() << "no control group to be had";
    }
    Puppet server = in(*group, {program});
    server.listen();
    InventoryProcess inventory([&] { return mountSilence() && becomeOtherUser(); });
    EXPECT_TRUE(inventory.answers());
}

} // namespace
} // namespace Tarnwick
