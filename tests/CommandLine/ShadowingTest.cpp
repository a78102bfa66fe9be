// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Shadowing.h"

#include "tests/CommandLine/CommandFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <utility>

namespace Tarnwick {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The sockets of one port, added one after the other.
class OnePort
{
public:
    OnePort &add(std::int64_t pid, ListenerDetails details)
    {
        m_records.push_back(record(5173, pid, "server" + std::to_string(pid)));
        m_details.push_back(std::move(details));
        m_sockets.push_back({&m_records.back(), &m_details.back()});
        return *this;
    }

    /// For each socket, "TARGET by PID at ADDRESS" for each of its shadows.
    [[nodiscard]] std::vector<std::vector<std::string>> shadows() const
    {
        std::vector<std::vector<std::string>> texts;
        for (const std::vector<Shadow> &found : Shadowing::find(m_sockets)) {
            texts.emplace_back();
            for (const Shadow &shadow : found) {
                EXPECT_EQ(shadow.processName, "server" + std::to_string(shadow.pid));
                texts.back().push_back(shadow.target + " by " + std::to_string(shadow.pid) +
                                       " at " + shadow.address);
            }
        }
        return texts;
    }

private:
    std::deque<RawPortInfo> m_records;
    std::deque<ListenerDetails> m_details;
    std::vector<Shadowing::Socket> m_sockets;
};

ListenerDetails inUnit(ListenerDetails details, const char *unit)
{
    details.unit = unit;
    return details;
}

} // namespace

TEST(Shadowing, GivesLocalhostToTheServerOnIPv6)
{
    EXPECT_THAT(OnePort().add(1, at("127.0.0.1")).add(2, at("::1")).shadows(),
                ElementsAre(ElementsAre("localhost by 2 at ::1"), IsEmpty()));
    EXPECT_THAT(OnePort().add(1, at("0.0.0.0")).add(2, at("::1")).shadows(),
                ElementsAre(ElementsAre("localhost by 2 at ::1"), IsEmpty()));
    EXPECT_THAT(OnePort().add(1, at("127.0.0.1")).add(2, onlyIPv6(at("::"))).shadows(),
                ElementsAre(ElementsAre("localhost by 2 at ::"), IsEmpty()));
    EXPECT_THAT(OnePort().add(1, at("0.0.0.0")).add(2, onlyIPv6(at("::"))).shadows(),
                ElementsAre(ElementsAre("localhost by 2 at ::"), IsEmpty()));
}

TEST(Shadowing, GivesAnAddressToTheServerThatIsBoundToItAlone)
{
    EXPECT_THAT(OnePort().add(1, at("0.0.0.0")).add(2, at("127.0.0.1")).shadows(),
                ElementsAre(ElementsAre("localhost by 2 at 127.0.0.1"), IsEmpty()));
    EXPECT_THAT(OnePort().add(1, at("0.0.0.0")).add(2, at("192.0.2.1")).shadows(),
                ElementsAre(ElementsAre("192.0.2.1 by 2 at 192.0.2.1"), IsEmpty()));
    EXPECT_THAT(OnePort().add(1, at("::")).add(2, at("127.0.0.1")).shadows(),
                ElementsAre(ElementsAre("127.0.0.1 by 2 at 127.0.0.1"),
                            ElementsAre("localhost by 1 at *")));
    EXPECT_THAT(OnePort().add(1, onlyIPv6(at("::"))).add(2, at("192.0.2.1")).shadows(),
                ElementsAre(IsEmpty(), IsEmpty()));
}

TEST(Shadowing, SeesNothingHiddenWhereTheAddressesDoNotMeet)
{
    EXPECT_THAT(OnePort().add(1, at("192.0.2.1")).add(2, at("127.0.0.1")).shadows(),
                ElementsAre(IsEmpty(), IsEmpty()));
    EXPECT_THAT(OnePort().add(1, at("2001:db8::1")).add(2, at("127.0.0.1")).shadows(),
                ElementsAre(IsEmpty(), IsEmpty()));
}

TEST(Shadowing, SeesNothingHiddenWithinOneServer)
{
    EXPECT_THAT(OnePort().add(1, at("127.0.0.1")).add(1, at("::1")).shadows(),
                ElementsAre(IsEmpty(), IsEmpty()));
    EXPECT_THAT(OnePort()
                    .add(1, inUnit(at("0.0.0.0"), "docker.service"))
                    .add(2, inUnit(onlyIPv6(at("::")), "docker.service"))
                    .shadows(),
                ElementsAre(IsEmpty(), IsEmpty()));
    EXPECT_THAT(OnePort()
                    .add(1, inUnit(at("127.0.0.1"), "session-2.scope"))
                    .add(2, inUnit(at("::1"), "session-2.scope"))
                    .shadows(),
                ElementsAre(ElementsAre("localhost by 2 at ::1"), IsEmpty()));
}

TEST(Shadowing, SeesNothingHiddenAmongServersThatShareAnAddress)
{
    EXPECT_THAT(OnePort().add(1, at("127.0.0.1")).add(2, at("127.0.0.1")).shadows(),
                ElementsAre(IsEmpty(), IsEmpty()));
}

TEST(Shadowing, LeavesOutSocketsOfOtherInterfaces)
{
    ListenerDetails remote = at("::");
    remote.interface = "eth0";
    EXPECT_THAT(OnePort().add(1, at("127.0.0.1")).add(2, remote).shadows(),
                ElementsAre(IsEmpty(), IsEmpty()));
}

TEST(Shadowing, TakesAMappedAddressForThatOfIPv4)
{
    EXPECT_THAT(OnePort().add(1, at("0.0.0.0")).add(2, at("::ffff:127.0.0.1")).shadows(),
                ElementsAre(ElementsAre("localhost by 2 at 127.0.0.1"), IsEmpty()));
}

} // namespace Tarnwick
