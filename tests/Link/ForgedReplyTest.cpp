// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Link/ClientFixture.h"
#include "tests/Link/ReplyForger.h"
#include "tests/Link/ScriptedHelper.h"
#include "tests/Platform/Polling.h"
#include "tests/Support/Puppet.h"

#include <csignal>
#include <fstream>

#include <sys/stat.h>

using namespace Tarnwick;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// A stranger on the bus replies in the place of those whom the application calls.
class ForgedReplyTest : public ClientFixture
{
protected:
    static void fillWithEmptyList(sd_bus_message *reply)
    {
        sd_bus_message_append_array(reply, 'y', "[]", 2);
    }

    [[nodiscard]] bool hasForged(int count) const
    {
        return awaitOutside([this, count] { return m_forger.forged() >= count; });
    }

    [[nodiscard]] std::string mismatch(const std::string &callee) const
    {
        return "a reply came from " + m_forger.name() + " instead of " + callee;
    }

    ReplyForger m_forger{m_bus.address()};
};

} // namespace

TEST_F(ForgedReplyTest, IsNoOutcomeOfAKill)
{
    const Puppet puppet;
    m_program.path = scriptedHelperProgram;
    const ScriptedHelper helper(m_bus, "payload\t[]", "silence");
    const std::string owner =
        BusCaller(m_bus.address()).owner(std::string(HelperProtocol::serviceName));
    m_forger.replyTo("KillProcess",
                     [](sd_bus_message *reply) { sd_bus_message_append(reply, "i", 0); });
    EXPECT_EQ(outcome(kill(puppet.pid())), KillResult::XpcUnavailable);
    EXPECT_THAT(m_log.messages(), ElementsAre("[helper] killProcess error: " + mismatch(owner)));
    EXPECT_EQ(m_forger.forged(), 1);
    EXPECT_THAT(helper.requests(), ElementsAre("ListListeningPorts", "KillProcess"));
}

TEST_F(ForgedReplyTest, IsNoSuccessThoughTheProcessEnds)
{
    Puppet puppet;
    const int port = puppet.listen().port;
    ASSERT_TRUE(lists(puppet.pid(), port));
    const RunningHelper helper(m_bus);
    const std::string owner =
        BusCaller(m_bus.address()).owner(std::string(HelperProtocol::serviceName));
    helper.signal(SIGSTOP);
    m_forger.replyTo("KillProcess",
                     [](sd_bus_message *reply) { sd_bus_message_append(reply, "i", 2); });
    const Kill ending = kill(puppet.pid());
    ASSERT_TRUE(hasForged(1));
    EXPECT_FALSE(puppet.hasEnded());
    helper.signal(SIGCONT);
    EXPECT_EQ(outcome(ending), KillResult::XpcUnavailable);
    EXPECT_TRUE(puppet.awaitEnd());
    EXPECT_FALSE(lists(puppet.pid(), port));
    EXPECT_THAT(m_log.messages(), ElementsAre("[helper] killProcess error: " + mismatch(owner)));
}

TEST_F(ForgedReplyTest, IsNoListing)
{
    Puppet puppet;
    const int port = puppet.listen().port;
    ASSERT_TRUE(outcome(scan()).has_value());
    const RunningHelper helper(m_bus);
    helper.signal(SIGSTOP);
    m_forger.replyTo("ListListeningPorts", &fillWithEmptyList, 1);
    const Scan listing = scan();
    ASSERT_TRUE(hasForged(1));
    helper.signal(SIGCONT);
    const std::optional<Records> records = outcome(listing);
    ASSERT_TRUE(records.has_value());
    EXPECT_TRUE(std::any_of(records->begin(), records->end(),
                            [port](const RawPortInfo &record) { return record.port == port; }));
    EXPECT_THAT(m_log.messages(), IsEmpty());
}

TEST_F(ForgedReplyTest, LosesAListingInTheEnd)
{
    m_program.path = scriptedHelperProgram;
    const ScriptedHelper helper(m_bus, "silence", "silence");
    const std::string owner =
        BusCaller(m_bus.address()).owner(std::string(HelperProtocol::serviceName));
    m_forger.replyTo("ListListeningPorts", &fillWithEmptyList);
    const Scan lost = scan();
    ASSERT_TRUE(awaitLines(1));
    EXPECT_THAT(m_log.messages(), ElementsAre("[helper] proxy error: " + mismatch(owner)));
    EXPECT_FALSE(lost.isThere());
}

TEST_F(ForgedReplyTest, IsNoWordOfTheBus)
{
    // A helper that the bus starts, when the test lets it.
    const TemporaryFolder folder;
    const std::filesystem::path gate = folder.path() / "gate";
    ASSERT_EQ(::mkfifo(gate.c_str(), S_IRUSR | S_IWUSR), 0);
    const std::filesystem::path service = m_bus.services() / "com.velmora.tarnwick.helper.service";
    std::ofstream(service) << "[D-BUS Service]\nName=com.velmora.tarnwick.helper\nExec=/bin/sh -c '"
                           << "read go < " << gate.string() << "; exec "
                           << HelperProcess::program().string() << "'\n";
    m_program.isInstalled = true;
    m_forger.replyTo(
        "StartServiceByName", [](sd_bus_message *reply) { sd_bus_message_append(reply, "u", 1U); },
        1);
    const Scan listing = scan();
    EXPECT_TRUE(hasForged(1));
    std::ofstream(gate) << "go\n";
    EXPECT_TRUE(outcome(listing).has_value());
    EXPECT_THAT(m_log.messages(), IsEmpty());
    const RunningHelper helper(m_bus);
    std::filesystem::remove(service);
}
