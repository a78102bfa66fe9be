// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/PortScanner.h"
#include "tests/Shared/SampleRecord.h"

#include <gtest/gtest.h>

#include <unordered_set>

using namespace Tarnwick;

namespace {

PortEntry entryFor(const RawPortInfo &record)
{
    return PortScanner::entries({&record, 1}).at(0);
}

} // namespace

TEST(PortScanner, MakesNoEntryOfNoRecord)
{
    EXPECT_TRUE(PortScanner::entries({}).empty());
}

TEST(PortScanner, TakesEveryFieldFromTheRecord)
{
    const RawPortInfo record = sampleRecord();
    const PortEntry entry = entryFor(record);
    EXPECT_EQ(entry.port, record.port);
    EXPECT_EQ(entry.pid, record.pid);
    EXPECT_EQ(entry.process, record.processName);
    EXPECT_EQ(entry.command, record.commandPath);
    EXPECT_EQ(entry.cwd, record.cwd);
    EXPECT_EQ(entry.arguments, record.arguments);
    EXPECT_EQ(entry.originArguments, record.originArguments);
    EXPECT_EQ(entry.memoryBytes, record.memoryBytes);
    EXPECT_EQ(entry.openedAt, record.processStartedAt);
    EXPECT_NE(entry.id, Uuid());
}

TEST(PortScanner, ClassifiesByTheExecutable)
{
    const PortEntry entry = entryFor(sampleRecord());
    EXPECT_EQ(entry.tier, PortTier::Dev);
    EXPECT_EQ(entry.description, "Node.js");
    EXPECT_EQ(entry.settingsLink, std::nullopt);
}

TEST(PortScanner, DescribesAServiceOfTheSystem)
{
    RawPortInfo record = sampleRecord();
    record.commandPath = "/usr/libexec/rapportd";
    record.processName = "rapportd";
    const PortEntry entry = entryFor(record);
    EXPECT_EQ(entry.tier, PortTier::System);
    EXPECT_EQ(entry.description, "Handoff / Sidecar");
    EXPECT_EQ(entry.settingsLink, std::nullopt);
}

TEST(PortScanner, KeepsTheSettingsLink)
{
    RawPortInfo record = sampleRecord();
    record.commandPath = "/usr/libexec/sharingd";
    record.processName = "sharingd";
    EXPECT_EQ(entryFor(record).settingsLink, "Sharing");
}

TEST(PortScanner, PutsTheArgumentsInThePlaceOfMissingOriginArguments)
{
    RawPortInfo record = sampleRecord();
    record.originArguments.clear();
    EXPECT_EQ(entryFor(record).originArguments, (std::vector<std::string>{"node", "server.js"}));
}

TEST(PortScanner, KeepsOriginArgumentsWhateverTheyHold)
{
    RawPortInfo record = sampleRecord();
    record.originArguments = {""};
    EXPECT_EQ(entryFor(record).originArguments, std::vector<std::string>{""});
    record.arguments.clear();
    EXPECT_EQ(entryFor(record).originArguments, std::vector<std::string>{""});
}

TEST(PortScanner, KeepsTheOrderAndEveryRecord)
{
    RawPortInfo other = sampleRecord();
    other.port = 22;
    const std::vector<RawPortInfo> records{sampleRecord(), other, sampleRecord()};
    const std::vector<PortEntry> entries = PortScanner::entries(records);
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(entries[0].port, 3000);
    EXPECT_EQ(entries[1].port, 22);
    EXPECT_EQ(entries[2].port, 3000);
    EXPECT_EQ(entries[0], entries[2]);
    EXPECT_NE(entries[0].id, entries[2].id);
}

TEST(PortScanner, GivesEveryScanFreshIdentifiers)
{
    const std::vector<RawPortInfo> records(2, sampleRecord());
    const std::vector<PortEntry> first = PortScanner::entries(records);
    const std::vector<PortEntry> second = PortScanner::entries(records);
    EXPECT_EQ(first, second);
    for (std::size_t i = 0; i < records.size(); ++i) {
        EXPECT_NE(first[i].id, second[i].id);
    }
}
