// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/HolderSearch.h"

#include "Helper/linux/SocketDump.h"
#include "tests/Helper/InventoryFixture.h"
#include "tests/Support/ThreadedProcess.h"

#include <array>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <vector>

#include <sys/socket.h>
#include <sys/uio.h>

namespace Tarnwick {
namespace {

/// A process in which each of many threads has descriptors of its own.
class CrowdedProcess : public ThreadedProcess
{
public:
    explicit CrowdedProcess(int threads)
        : ThreadedProcess(Kind::Crowded, threads)
    {
    }
};

/// A descriptor in a message that nobody reads, and open nowhere else.
class DescriptorInFlight
{
public:
    explicit DescriptorInFlight(FileDescriptor descriptor)
    {
        std::array<int, 2> ends{-1, -1};
        if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
            throw std::runtime_error("no sockets to be had");
        }
        m_receiver = FileDescriptor(ends[0]);
        const FileDescriptor sender(ends[1]);
        char byte = 0;
        iovec content = {.iov_base = &byte, .iov_len = 1};
        alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> room{};
        msghdr message = {};
        message.msg_iov = &content;
        message.msg_iovlen = 1;
        message.msg_control = room.data();
        message.msg_controllen = room.size();
        cmsghdr *const header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof(int));
        const int passed = descriptor.get();
        std::memcpy(CMSG_DATA(header), &passed, sizeof(passed));
        if (::sendmsg(sender.get(), &message, MSG_NOSIGNAL) != 1) {
            throw std::runtime_error("the descriptor was not sent");
        }
    }

private:
    FileDescriptor m_receiver;
};

/// The work that one search may take.
class HolderSearchTest : public InventoryFixture
{
protected:
    void SetUp() override
    {
        SocketDump dump(ListenerInventory::SocketSource::Automatic);
        ASSERT_FALSE(dump.list(m_sockets).has_value());
    }

    /// Lists again, for what listens now.
    std::uint32_t socketOf(int port)
    {
        SocketDump dump(ListenerInventory::SocketSource::Automatic);
        EXPECT_FALSE(dump.list(m_sockets).has_value());
        for (std::uint32_t at = 0; at < m_sockets.size(); ++at) {
            if (m_sockets[at].port == port) {
                return at;
            }
        }
        ADD_FAILURE() << "nothing listens on port " << port;
        return 0;
    }

    static std::vector<ProcFs::ProcessEntry> entries(std::vector<pid_t> pids)
    {
        std::vector<ProcFs::ProcessEntry> found;
        for (const pid_t pid : pids) {
            found.push_back({pid, 0});
        }
        std::sort(found.begin(), found.end());
        return found;
    }

    FileDescriptor m_root = ProcFs::openRoot();
    std::vector<ListeningSocket> m_sockets;
};

TEST_F(HolderSearchTest, GrowsHardlyFasterThanTheThreadsWithDescriptorsOfTheirOwn)
{
    constexpr int threads = 2000;
    const CrowdedProcess crowded(threads);
    ASSERT_GT(crowded.threads(), 100);
    HolderSearch search(m_root.get(), m_sockets, {.process = 50'000'000, .total = 50'000'000});
    const std::vector<ProcFs::ProcessEntry> processes = entries({crowded.pid()});
    search.visit(crowded.pid());
    const std::uint64_t before = search.work();
    ThreadScanBackoff backoff;
    search.visitThreads(processes, backoff);
    // A dozen comparisons for each, and its handful of descriptors; every pair would be millions.
    const auto count = static_cast<std::uint64_t>(crowded.threads());
    const auto descriptors = static_cast<std::uint64_t>(search.visit(crowded.pid()).descriptors);
    EXPECT_LT(search.work() - before,
              count * (2 * 12 + 8 + std::max<std::uint64_t>(descriptors, 64)));
    EXPECT_FALSE(search.isCut());
}

TEST_F(HolderSearchTest, LeavesTheThreadsOfAProcessThatWouldTakeTooLong)
{
    const CrowdedProcess crowded(300);
    ASSERT_GT(crowded.threads(), 100);
    HolderSearch search(m_root.get(), m_sockets, {.process = 500, .total = 100'000});
    search.visit(crowded.pid());
    ThreadScanBackoff backoff;
    search.visitThreads(entries({crowded.pid()}), backoff);
    EXPECT_TRUE(search.isCut());
    EXPECT_LT(search.work(), 2000U);
}

TEST_F(HolderSearchTest, SearchesThreadsThatCostMuchInEverFewerListings)
{
    const CrowdedProcess crowded(600);
    if (crowded.threads() < 500) {
        GTEST_SKIP() << "no room for so many threads";
    }
    const std::vector<ProcFs::ProcessEntry> processes = entries({crowded.pid()});
    ThreadScanBackoff backoff;
    std::vector<std::uint64_t> searched;
    for (std::uint64_t listing = 1; listing <= 40; ++listing) {
        backoff.beginListing(listing);
        backoff.retain(processes);
        HolderSearch search(
            m_root.get(), {},
            {.process = 6'000,
             .deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1)});
        search.visit(crowded.pid());
        const std::uint64_t before = search.work();
        search.visitThreads(processes, backoff);
        if (search.work() > before) {
            searched.push_back(listing);
        }
        EXPECT_TRUE(search.isCut() || search.omitsThreads())
            << "not all was searched in listing " << listing;
    }
    EXPECT_EQ(searched, (std::vector<std::uint64_t>{1, 3, 6, 11, 20, 37}));
}

TEST_F(HolderSearchTest, SearchesTheThreadsOfAProcessAnewThatGotAnothersIdentifier)
{
    ThreadScanBackoff backoff;
    const ProcFs::ProcessEntry process{4711, 1};
    backoff.beginListing(1);
    backoff.note(process, ThreadScanBackoff::expensive, false);
    EXPECT_TRUE(backoff.isDue(process)) << "another search of the same listing";
    backoff.beginListing(2);
    EXPECT_FALSE(backoff.isDue(process));
    EXPECT_TRUE(backoff.isDue({4711, 2}));
    backoff.note(process, ThreadScanBackoff::expensive, true);
    EXPECT_TRUE(backoff.isDue(process)) << "what it found was worth its cost";
}

TEST_F(HolderSearchTest, LetsNoProcessCostAnotherItsSocket)
{
    // The greedy one comes first by its number; what it may not have, the server gets.
    Puppet greedy;
    greedy.openFiles(900);
    Puppet server;
    server.openFiles(60);
    const std::uint32_t socket = socketOf(server.listen(Puppet::Family::V4, 50).port);
    HolderSearch search(m_root.get(), m_sockets, {.process = 200, .total = 400});
    search.visitAll(entries({greedy.pid(), server.pid()}), [](unsigned) { return false; });
    ASSERT_EQ(search.holders(socket).size(), 1U);
    EXPECT_EQ(search.holders(socket).front().pid, server.pid());
    EXPECT_TRUE(search.isCut());
    EXPECT_LE(search.work(), 400U + 2 * 16);
}

TEST_F(HolderSearchTest, EndsAtTheDeadlineThatEarlierSearchesHadAlready)
{
    Puppet server;
    const std::uint32_t socket = socketOf(server.listen().port);
    const HolderSearch::Limits limits{.deadline = std::chrono::steady_clock::now()};
    HolderSearch search(m_root.get(), m_sockets, limits);
    search.visit(server.pid());
    EXPECT_TRUE(search.holders(socket).empty());
    EXPECT_TRUE(search.isCut());
    HolderSearch next(m_root.get(), m_sockets, limits);
    next.visit(server.pid());
    EXPECT_TRUE(next.isCut());
}

TEST_F(HolderSearchTest, DoesNotKeepASocketFromItsNewOwnerByTheThreadsThatItOmits)
{
    const CrowdedProcess crowded(600);
    if (crowded.threads() < 500) {
        GTEST_SKIP() << "no room for so many threads";
    }
    // A socket on its way, which nobody holds, has the threads searched for it.
    Puppet sender;
    const Puppet::Listener sent = sender.listen();
    const DescriptorInFlight inFlight(sender.give(sent.descriptor));
    sender.end();

    Puppet older;
    older.openFiles(1);
    Puppet server;
    const Puppet::Listener listener = server.listen(Puppet::Family::V4, 5);
    ListenerInventory inventory({.source = ListenerInventory::SocketSource::Automatic,
                                 .auditInterval = std::chrono::seconds(0),
                                 .auditShare = 0});
    EXPECT_EQ(only(list(inventory), listener.port).pid, server.pid());
    older.close(3);
    server.pass(listener.descriptor, older, 3);
    EXPECT_EQ(only(list(inventory), listener.port).pid, older.pid());
}

TEST_F(HolderSearchTest, IsCutForAListingThatSaysSoAndTellsTheOthers)
{
    std::vector<std::string> lines;
    ListenerInventory::Options options;
    options.mostWorkOnProcess = 300;
    options.log = [&lines](std::string_view line) { lines.emplace_back(line); };
    ListenerInventory inventory(options);
    Puppet server;
    const int port = server.listen().port;
    Puppet hidden;
    hidden.openFiles(900);
    const int far = hidden.listen(Puppet::Family::V4, 800).port;
    for (int listing = 0; listing < 3; ++listing) {
        const Records records = list(inventory);
        EXPECT_EQ(only(records, port).pid, server.pid());
        EXPECT_EQ(only(records, far).pid, 0);
    }
    const auto saysSo = [](const std::string &line) {
        return line.find("cut short") != std::string::npos;
    };
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), saysSo), 1);
}

} // namespace
} // namespace Tarnwick
