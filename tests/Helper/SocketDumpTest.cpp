// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/SocketDump.h"

#include "tests/Support/OtherUser.h"
#include "tests/Support/Puppet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <linux/netlink.h>
#include <sys/resource.h>

namespace Tarnwick {
namespace {

constexpr std::string_view heading = "  sl  local_address rem_address   st tx_queue rx_queue tr "
                                     "tm->when retrnsmt   uid  timeout inode\n";

TEST(SocketDump, ReadsTheListenersFromATable)
{
    const std::string table = std::string(heading) +
                              "   0: 0100007F:0BB8 00000000:0000 0A 00000000:00000000 00:00000000 "
                              "00000000  1000        0 "
                              "4711 1 0000000000000000 100 0 0 10 0\n"
                              "   1: 0100007F:0BB9 0100007F:9C40 01 00000000:00000000 00:00000000 "
                              "00000000  1000        0 "
                              "4712 1 0000000000000000 20 4 30 10 -1\n";
    std::vector<ListeningSocket> sockets;
    ASSERT_TRUE(SocketDump::parseTable(table, sockets));
    ASSERT_EQ(sockets.size(), 1U);
    EXPECT_EQ(sockets[0].port, 3000);
    EXPECT_EQ(sockets[0].inode, 4711U);
    EXPECT_EQ(sockets[0].uid, 1000U);
    EXPECT_EQ(sockets[0].key(), 4711U);
    EXPECT_EQ(sockets[0].address.text(), "127.0.0.1");
}

TEST(SocketDump, ReadsTheListenersOfTheOtherFamily)
{
    const std::string table =
        std::string(heading) +
        "   0: 00000000000000000000000001000000:01BB 00000000000000000000000000000000:0000 0A "
        "00000000:00000000 00:00000000 00000000     0        0 9 1 0 100 0 0 10 0\n";
    std::vector<ListeningSocket> sockets;
    ASSERT_TRUE(SocketDump::parseTable(table, sockets));
    ASSERT_EQ(sockets.size(), 1U);
    EXPECT_EQ(sockets[0].port, 443);
    EXPECT_EQ(sockets[0].address.text(), "::1");
}

TEST(SocketDump, RefusesATableThatIsNone)
{
    std::vector<ListeningSocket> sockets;
    for (const char *line :
         {"nonsense\n", "0: 0100007F 0:0 0A 0:0 0:0 0 0 0 1\n",
          "0: 0100007F:FFFFF 0:0 0A 0:0 0:0 0 0 0 1\n", "0: 0100007F:1 0:0 0A 0:0 0:0 0 x 0 1\n",
          "0: 0100007F:1 0:0 0A 0:0 0:0 0 0 0 x\n", "0: 0:1 0:0 0A 0:0 0:0 0 0 0 1\n",
          "0: 0100007G:1 0:0 0A 0:0 0:0 0 0 0 1\n",
          "0: 0100007F0100007F:1 0:0 0A 0:0 0:0 0 0 0 1\n"}) {
        EXPECT_FALSE(SocketDump::parseTable(std::string(heading) + line, sockets)) << line;
    }
    EXPECT_TRUE(SocketDump::parseTable("", sockets));
    EXPECT_TRUE(SocketDump::parseTable(heading, sockets));
}

TEST(SocketDump, TakesOnlyANegatedErrorNumberForTheReasonOfAnEnd)
{
    constexpr std::uint32_t sequence = 7;
    for (const auto &[told, expected] : {std::pair(0, 0),
                                         {-EINVAL, EINVAL},
                                         {EINVAL, EBADMSG},
                                         {-4096, EBADMSG},
                                         {std::numeric_limits<int>::min(), EBADMSG}}) {
        struct
        {
            nlmsghdr header{};
            int code = 0;
        } message;
        message.header.nlmsg_len = sizeof(message);
        message.header.nlmsg_type = NLMSG_DONE;
        message.header.nlmsg_seq = sequence;
        message.code = told;
        const std::string_view bytes(reinterpret_cast<const char *>(&message), sizeof(message));
        std::vector<ListeningSocket> sockets;
        SocketDump::Progress progress;
        SocketDump::parseMessages(bytes, sequence, sockets, progress);
        EXPECT_TRUE(progress.isOver);
        EXPECT_EQ(progress.error, expected) << told;
    }
}

TEST(SocketDump, SaysWhichCallsFailed)
{
    const int result = inOwnProcess([] {
        const rlimit none = {.rlim_cur = 0, .rlim_max = 0};
        SocketDump dump(ListenerInventory::SocketSource::Automatic);
        std::vector<ListeningSocket> sockets;
        if (::setrlimit(RLIMIT_NOFILE, &none) != 0) {
            return 1;
        }
        const std::optional<ListingError> error = dump.list(sockets);
        const std::string reason = std::strerror(EMFILE);
        return error && error->code == EMFILE &&
                       error->message == "cannot list the listening sockets: socket(AF_NETLINK): " +
                                             reason + "; /proc/net/tcp: " + reason
                   ? 0
                   : 2;
    });
    EXPECT_EQ(result, 0);
}

TEST(SocketDump, SaysTheSameThroughDiagnosticsAndTables)
{
    using Family = Puppet::Family;
    Puppet puppet;
    std::set<int> ports;
    for (const Family family : {Family::V4, Family::V6, Family::Dual}) {
        ports.insert(puppet.listen(family).port);
    }
    // Others of this machine come and go between two listings.
    const auto listedBy = [&ports](ListenerInventory::SocketSource source) {
        std::vector<ListeningSocket> sockets;
        EXPECT_FALSE(SocketDump(source).list(sockets));
        std::erase_if(sockets,
                      [&ports](const auto &socket) { return !ports.contains(socket.port); });
        return sockets;
    };
    const std::vector<ListeningSocket> diagnosed =
        listedBy(ListenerInventory::SocketSource::Automatic);
    const std::vector<ListeningSocket> tabulated =
        listedBy(ListenerInventory::SocketSource::ProcNetTcp);
    ASSERT_GE(diagnosed.size(), ports.size());
    ASSERT_EQ(diagnosed.size(), tabulated.size());
    for (std::size_t at = 0; at < diagnosed.size(); ++at) {
        EXPECT_EQ(diagnosed[at].port, tabulated[at].port);
        EXPECT_EQ(diagnosed[at].inode, tabulated[at].inode);
        EXPECT_EQ(diagnosed[at].uid, tabulated[at].uid);
        EXPECT_NE(diagnosed[at].cookie, 0U);
    }
}

TEST(SocketDump, TellsEachSocketOnceWhenThereAreMany)
{
    Puppet puppet;
    for (int count = 0; count < 150; ++count) {
        puppet.listen(count % 2 == 0 ? Puppet::Family::V4 : Puppet::Family::V6);
    }
    std::vector<ListeningSocket> sockets;
    SocketDump dump(ListenerInventory::SocketSource::Automatic);
    for (int again = 0; again < 3; ++again) {
        ASSERT_FALSE(dump.list(sockets));
        EXPECT_GE(sockets.size(), 150U);
        EXPECT_TRUE(std::adjacent_find(sockets.begin(), sockets.end()) == sockets.end());
    }
}

} // namespace
} // namespace Tarnwick
