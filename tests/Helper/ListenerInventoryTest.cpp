// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Helper/InventoryFixture.h"

#include <chrono>
#include <fstream>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

using ListenerInventoryTest = InventoryFixture;
using Family = Puppet::Family;

TEST_F(ListenerInventoryTest, NamesTheProcessBehindAListener)
{
    const TemporaryCopy copies;
    const auto program = copies.copy(Puppet::program(), "shop-server");
    const auto before = std::chrono::system_clock::now();
    Puppet server(program, {"shop-server", "--color", "blue"});
    server.changeDirectory(copies.folder());
    server.joinGroup(0);
    const int port = server.listen().port;

    const RawPortInfo record = only(list(m_inventory), port);
    EXPECT_EQ(record.pid, server.pid());
    EXPECT_EQ(record.processName, "shop-server");
    EXPECT_EQ(record.commandPath, program);
    EXPECT_EQ(record.cwd, copies.folder());
    EXPECT_EQ(record.arguments, (std::vector<std::string>{"shop-server", "--color", "blue"}));
    EXPECT_TRUE(record.originArguments.empty());
    EXPECT_GT(record.memoryBytes, 100'000U);
    // The kernel counts in hundredths of a second.
    EXPECT_GE(record.processStartedAt, before - std::chrono::milliseconds(20));
    EXPECT_LE(record.processStartedAt, std::chrono::system_clock::now());
}

TEST_F(ListenerInventoryTest, TellsTheSameStartTimeInEveryListing)
{
    Puppet server;
    const int port = server.listen().port;
    const Timestamp started = only(list(m_inventory), port).processStartedAt;
    for (int listing = 0; listing < 20; ++listing) {
        ASSERT_EQ(only(list(m_inventory), port).processStartedAt, started);
    }
}

TEST_F(ListenerInventoryTest, HasARecordForEachListeningSocketOfBothFamilies)
{
    Puppet server;
    const int port = server.listen(Family::V4).port;
    server.listen(Family::V6, -1, port);
    const Records records = on(list(m_inventory), port);
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0], records[1]);
}

TEST_F(ListenerInventoryTest, HasOneRecordForASocketThatServesBothFamilies)
{
    Puppet server;
    const int port = server.listen(Family::Dual).port;
    EXPECT_EQ(owner(port), server.pid());
}

TEST_F(ListenerInventoryTest, IsOrderedByPort)
{
    Puppet server;
    for (int count = 0; count < 20; ++count) {
        server.listen();
    }
    const Records records = list(m_inventory);
    EXPECT_TRUE(std::is_sorted(
        records.begin(), records.end(),
        [](const RawPortInfo &left, const RawPortInfo &right) { return left.port < right.port; }));
}

TEST_F(ListenerInventoryTest, SeesAListenerOpenAndClose)
{
    Puppet server;
    static_cast<void>(list(m_inventory));
    const Puppet::Listener listener = server.listen();
    EXPECT_EQ(owner(listener.port), server.pid());
    server.close(listener.descriptor);
    EXPECT_TRUE(on(list(m_inventory), listener.port).empty());
}

TEST_F(ListenerInventoryTest, SeesAnEndedProcessGo)
{
    Puppet server;
    const int port = server.listen().port;
    EXPECT_EQ(owner(port), server.pid());
    server.end();
    EXPECT_TRUE(on(list(m_inventory), port).empty());
}

TEST_F(ListenerInventoryTest, FindsAListenerUnderAnyDescriptorNumber)
{
    Puppet server;
    server.openFiles(60);
    const int low = server.listen(Family::V4, 9).port;
    const int high = server.listen(Family::V4, 55).port;
    const int far = server.listen(Family::V4, 900).port;
    EXPECT_EQ(owner(low), server.pid());
    EXPECT_EQ(owner(high), server.pid());
    EXPECT_EQ(owner(far), server.pid());
}

TEST_F(ListenerInventoryTest, FindsTheLastOfTenThousandDescriptors)
{
    rlimit limit = {};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    if (limit.rlim_max < 11'000) {
        GTEST_SKIP() << "no process may have that many descriptors here";
    }
    const rlimit raised = {.rlim_cur = 11'000, .rlim_max = limit.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &raised);
    Puppet server;
    ::setrlimit(RLIMIT_NOFILE, &limit);
    server.openFiles(10'000);
    const int port = server.listen().port;
    EXPECT_EQ(owner(port), server.pid());
}

TEST_F(ListenerInventoryTest, FollowsAListenerThatMovesToAnotherNumber)
{
    Puppet server;
    const Puppet::Listener listener = server.listen(Family::V4, 5);
    EXPECT_EQ(owner(listener.port), server.pid());
    server.duplicate(5, 77);
    server.close(5);
    EXPECT_EQ(owner(listener.port), server.pid());
}

TEST_F(ListenerInventoryTest, GivesTheCommandThatAnotherProcessOfTheGroupWasStartedWith)
{
    Puppet leader(Puppet::program(), {"npm", "run", "dev"});
    leader.joinGroup(0);
    Puppet server = leader.fork();
    server.exec(Puppet::program(), {"node", "vite.js"});
    const int port = server.listen().port;
    const RawPortInfo record = only(list(m_inventory), port);
    EXPECT_EQ(record.arguments, (std::vector<std::string>{"node", "vite.js"}));
    EXPECT_EQ(record.originArguments, (std::vector<std::string>{"npm", "run", "dev"}));
    EXPECT_EQ(only(coldList(), port).originArguments, record.originArguments);
}

TEST_F(ListenerInventoryTest, GivesNoOriginWhenTheGroupsLeaderHasEnded)
{
    Puppet leader(Puppet::program(), {"npm", "run", "dev"});
    leader.joinGroup(0);
    Puppet server = leader.fork();
    server.exec(Puppet::program(), {"node", "vite.js"});
    const int port = server.listen().port;
    EXPECT_FALSE(only(list(m_inventory), port).originArguments.empty());
    leader.end();
    EXPECT_TRUE(only(list(m_inventory), port).originArguments.empty());
    EXPECT_TRUE(only(coldList(), port).originArguments.empty());
}

TEST_F(ListenerInventoryTest, GivesNoOriginWhenTheLeaderRunsTheSameCommand)
{
    Puppet master(Puppet::program(), {"gunicorn", "app"});
    master.joinGroup(0);
    Puppet worker = master.fork();
    const int port = worker.listen().port;
    EXPECT_TRUE(only(list(m_inventory), port).originArguments.empty());
}

TEST_F(ListenerInventoryTest, ReadsANewImageOfTheSameProcess)
{
    const TemporaryCopy copies;
    Puppet server(copies.copy(Puppet::program(), "first"), {"first"});
    const int port = server.listen().port;
    EXPECT_EQ(only(list(m_inventory), port).processName, "first");
    const auto second = copies.copy(Puppet::program(), "second");
    server.exec(second, {"second", "--now"});
    const RawPortInfo record = only(list(m_inventory), port);
    EXPECT_EQ(record.pid, server.pid());
    EXPECT_EQ(record.processName, "second");
    EXPECT_EQ(record.commandPath, second);
    EXPECT_EQ(record.arguments, (std::vector<std::string>{"second", "--now"}));
}

TEST_F(ListenerInventoryTest, ReadsANewWorkingDirectory)
{
    const TemporaryCopy folder;
    Puppet server;
    const int port = server.listen().port;
    server.changeDirectory("/");
    EXPECT_EQ(only(list(m_inventory), port).cwd, "/");
    server.changeDirectory(folder.folder());
    EXPECT_EQ(only(list(m_inventory), port).cwd, folder.folder());
}

TEST_F(ListenerInventoryTest, GoesByTheExecutableWhenTheMainThreadWasRenamed)
{
    const TemporaryCopy copies;
    Puppet server(copies.copy(Puppet::program(), "shop-server"), {"shop-server"});
    const int port = server.listen().port;
    server.rename("MainThread");
    EXPECT_EQ(only(list(m_inventory), port).processName, "shop-server");
    EXPECT_EQ(only(coldList(), port).processName, "shop-server");
}

TEST_F(ListenerInventoryTest, CompletesANameThatTheKernelCut)
{
    const TemporaryCopy copies;
    Puppet server(copies.copy(Puppet::program(), "a-name-of-twenty-two-b"), {"./a-name"});
    const int port = server.listen().port;
    EXPECT_EQ(only(list(m_inventory), port).processName, "a-name-of-twenty-two-b");
}

TEST_F(ListenerInventoryTest, GivesThePathOfADeletedExecutableWithoutTheMark)
{
    const TemporaryCopy copies;
    const auto program = copies.copy(Puppet::program(), "gone");
    Puppet server(program, {"gone"});
    const int port = server.listen().port;
    std::filesystem::remove(program);
    const RawPortInfo record = only(list(m_inventory), port);
    EXPECT_EQ(record.commandPath, program);
    EXPECT_EQ(record.processName, "gone");
}

TEST_F(ListenerInventoryTest, KeepsTheMarkWhereAFileReallyHasSuchAName)
{
    const TemporaryCopy copies;
    const auto program = copies.copy(Puppet::program(), "server (deleted)");
    Puppet server(program, {"server"});
    const int port = server.listen().port;
    EXPECT_EQ(only(list(m_inventory), port).commandPath, program);
}

TEST_F(ListenerInventoryTest, GivesThePathOfADeletedWorkingDirectoryWithoutTheMark)
{
    const TemporaryCopy copies;
    const auto folder = copies.folder() / "work";
    std::filesystem::create_directory(folder);
    Puppet server;
    server.changeDirectory(folder);
    const int port = server.listen().port;
    std::filesystem::remove(folder);
    EXPECT_EQ(only(list(m_inventory), port).cwd, folder);
}

TEST_F(ListenerInventoryTest, MakesUtf8OfWhateverTheProcessPutThere)
{
    const TemporaryCopy copies;
    const auto program = copies.copy(Puppet::program(), "n\xff"
                                                        "me");
    Puppet server(program, {"\xc3\x28", "caf\xc3\xa9", "\xed\xa0\x80"});
    const int port = server.listen().port;
    const RawPortInfo record = only(list(m_inventory), port);
    EXPECT_EQ(record.processName, "n\xef\xbf\xbdme");
    EXPECT_EQ(record.commandPath, (copies.folder() / "n\xef\xbf\xbdme").string());
    ASSERT_EQ(record.arguments.size(), 3U);
    EXPECT_EQ(record.arguments[0], "\xef\xbf\xbd(");
    EXPECT_EQ(record.arguments[1], "caf\xc3\xa9");
    EXPECT_EQ(RawPortInfo::encode(std::vector{record}).find('\xff'), std::string::npos);
}

TEST_F(ListenerInventoryTest, ToleratesAnEmptyCommandLine)
{
    const TemporaryCopy copies;
    Puppet server(copies.copy(Puppet::program(), "silent"), {"s"});
    const int port = server.listen().port;
    server.retitle("");
    const RawPortInfo record = only(list(m_inventory), port);
    EXPECT_EQ(record.pid, server.pid());
    EXPECT_EQ(record.processName, "silent");
}

TEST_F(ListenerInventoryTest, TakesATitleForWhatItIsAndDropsTheEmptyRoomBehindIt)
{
    Puppet server(Puppet::program(),
                  {"server", "--with", "some", "long", "arguments", "to", "cover"});
    const int port = server.listen().port;
    server.retitle("server: ready");
    EXPECT_EQ(only(list(m_inventory), port).arguments, std::vector<std::string>{"server: ready"});
}

TEST_F(ListenerInventoryTest, KeepsEmptyArguments)
{
    Puppet server(Puppet::program(), {"server", "", "x", ""});
    const int port = server.listen().port;
    EXPECT_EQ(only(list(m_inventory), port).arguments,
              (std::vector<std::string>{"server", "", "x", ""}));
}

TEST_F(ListenerInventoryTest, FallsBackToTheTablesOfTheKernel)
{
    Puppet server;
    const int port = server.listen(Family::V4).port;
    server.listen(Family::V6, -1, port);
    ListenerInventory tables({.source = ListenerInventory::SocketSource::ProcNetTcp});
    const Records records = on(list(tables), port);
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].pid, server.pid());
    EXPECT_EQ(on(list(tables), port).size(), 2U);
}

TEST_F(ListenerInventoryTest, KeepsTheFirstNameOfAListenerThatRenamesItself)
{
    Puppet server;
    const Puppet::Listener listener = server.listen();
    const std::string name = only(list(m_inventory), listener.port).processName;
    server.rename("renamed");
    server.retitle("renamed: serving");
    EXPECT_EQ(only(list(m_inventory), listener.port).processName, name);
    // Also for what it listens on anew.
    server.close(listener.descriptor);
    const int port = server.listen().port;
    EXPECT_EQ(only(list(m_inventory), port).processName, name);
}

TEST_F(ListenerInventoryTest, NamesAListenerAnewThatBecameAnotherProgram)
{
    const TemporaryCopy copies;
    Puppet server;
    const int port = server.listen().port;
    static_cast<void>(list(m_inventory));
    const SharedProcessReport before = m_inventory.report();
    server.exec(copies.copy(Puppet::program(), "successor"), {"successor"});
    const RawPortInfo record = only(list(m_inventory), port);
    EXPECT_EQ(record.processName, "successor");
    const SharedProcessReport after = m_inventory.report();
    const ReportedProcess *then = before->find(server.pid());
    const ReportedProcess *now = after->find(server.pid());
    ASSERT_TRUE(then != nullptr && now != nullptr);
    EXPECT_TRUE(isSameProcess(then->process, now->process));
    EXPECT_NE(then->program, now->program);
}

TEST_F(ListenerInventoryTest, TakesAListenerWhoseExecutableIsMovedForTheSameProgram)
{
    const TemporaryCopy copies;
    const auto program = copies.copy(Puppet::program(), "moved server");
    Puppet server(program, {"server"});
    const int port = server.listen().port;
    const RawPortInfo first = only(list(m_inventory), port);
    const SharedProcessReport before = m_inventory.report();
    std::filesystem::rename(program, copies.folder() / "moved");
    const RawPortInfo record = only(list(m_inventory), port);
    EXPECT_EQ(record.processName, first.processName);
    EXPECT_EQ(record.commandPath, program);
    const SharedProcessReport after = m_inventory.report();
    const ReportedProcess *then = before->find(server.pid());
    const ReportedProcess *now = after->find(server.pid());
    ASSERT_TRUE(then != nullptr && now != nullptr);
    EXPECT_EQ(then->program, now->program);
    // Another file in the old one's place is another program.
    server.exec(copies.copy(Puppet::program(), "successor"), {"successor"});
    EXPECT_EQ(only(list(m_inventory), port).processName, "successor");
}

TEST_F(ListenerInventoryTest, ReportsWhichProcessesTheLatestListingNames)
{
    Puppet server;
    server.listen();
    EXPECT_EQ(m_inventory.report()->find(server.pid()), nullptr);
    static_cast<void>(list(m_inventory));
    const SharedProcessReport first = m_inventory.report();
    const ReportedProcess *reported = first->find(server.pid());
    ASSERT_NE(reported, nullptr);
    EXPECT_EQ(reported->process.pid, server.pid());
    EXPECT_EQ(first->find(::getpid()), nullptr);
    const pid_t pid = server.pid();
    static_cast<void>(list(m_inventory));
    const ReportedProcess *again = m_inventory.report()->find(pid);
    ASSERT_NE(again, nullptr);
    EXPECT_TRUE(isSameProcess(reported->process, again->process));
    server.end();
    static_cast<void>(list(m_inventory));
    EXPECT_EQ(m_inventory.report()->find(pid), nullptr);
    EXPECT_EQ(first->find(pid), reported) << "a report never changes";
}

TEST_F(ListenerInventoryTest, ReportsNothingByLookingForAnOwner)
{
    Puppet server;
    server.listen();
    const auto looked = m_inventory.ownership(server.pid());
    const auto *ownership = std::get_if<Ownership>(&looked);
    ASSERT_NE(ownership, nullptr);
    EXPECT_EQ(ownership->kind, Ownership::Kind::Seen);
    EXPECT_EQ(m_inventory.report()->find(server.pid()), nullptr);
    const auto other = m_inventory.ownership(::getpid());
    EXPECT_EQ(std::get<Ownership>(other).kind, Ownership::Kind::None);
}

} // namespace
} // namespace Tarnwick
