// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/ListedPrograms.h"
#include "Shared/RawPortInfo.h"
#include "tests/Shared/SampleRecord.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

using namespace Tarnwick;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

RawPortInfo listener(std::string name, std::string path = "/usr/bin/node", std::int64_t pid = 42)
{
    RawPortInfo record = sampleRecord();
    record.pid = pid;
    record.processName = std::move(name);
    record.commandPath = std::move(path);
    return record;
}

RawPortInfo startedLater(RawPortInfo record, std::chrono::seconds later)
{
    record.processStartedAt += later;
    return record;
}

class ListedProgramsTest : public testing::Test
{
protected:
    /// The names under which a listing is handed on.
    std::vector<std::string> list(std::vector<RawPortInfo> records)
    {
        m_programs.continueWith(records);
        std::vector<std::string> names;
        for (RawPortInfo &record : records) {
            names.push_back(std::move(record.processName));
        }
        return names;
    }

    ListedPrograms m_programs;
};

} // namespace

TEST_F(ListedProgramsTest, HandsOnWhatStaysWhatItWas)
{
    const std::vector<RawPortInfo> records{listener("node"), listener("ruby", "/bin/ruby", 43)};
    EXPECT_THAT(list(records), ElementsAre("node", "ruby"));
    EXPECT_THAT(list(records), ElementsAre("node", "ruby"));
}

TEST_F(ListedProgramsTest, KeepsTheNameOfAProcessThatWasRenamed)
{
    list({listener("node")});
    EXPECT_THAT(list({startedLater(listener("renamed"), std::chrono::seconds(1))}),
                ElementsAre("node"));
    EXPECT_THAT(list({listener("again")}), ElementsAre("node"));
}

TEST_F(ListedProgramsTest, LeavesAListenerOutOfOneListingWhenItsProcessRunsAnotherProgram)
{
    list({listener("sh", "/bin/sh"), listener("ruby", "/bin/ruby", 43)});
    const std::vector<RawPortInfo> now{listener("node"), listener("ruby", "/bin/ruby", 43)};
    EXPECT_THAT(list(now), ElementsAre("ruby"));
    EXPECT_THAT(list(now), ElementsAre("node", "ruby"));
    EXPECT_THAT(list(now), ElementsAre("node", "ruby"));
}

TEST_F(ListedProgramsTest, LeavesAListenerOutOfOneListingWhenAProgramOfTheSameNameTakesItOver)
{
    list({listener("node")});
    EXPECT_THAT(list({listener("node", "/opt/node")}), IsEmpty());
    EXPECT_THAT(list({listener("node", "/opt/node")}), ElementsAre("node"));
}

TEST_F(ListedProgramsTest, LeavesAListenerOutOfOneListingWhenItIsAnotherProcess)
{
    list({listener("node")});
    const RawPortInfo other = startedLater(listener("worker"), std::chrono::seconds(2));
    EXPECT_THAT(list({other}), IsEmpty());
    EXPECT_THAT(list({other}), ElementsAre("worker"));
}

TEST_F(ListedProgramsTest, HandsOnWhatStaysWhatItWasWhenTheClockIsSet)
{
    list({listener("node")});
    EXPECT_THAT(list({startedLater(listener("node"), std::chrono::hours(1))}), ElementsAre("node"));
}

TEST_F(ListedProgramsTest, HandsOnAProcessWhosePathIsKnownFromTimeToTime)
{
    list({listener("node", "")});
    EXPECT_THAT(list({listener("node")}), ElementsAre("node"));
    EXPECT_THAT(list({listener("node", "")}), ElementsAre("node"));
    EXPECT_THAT(list({listener("node", "/opt/node")}), IsEmpty());
}

TEST_F(ListedProgramsTest, LeavesOutWhatHasNoKnownExecutableAndAnotherName)
{
    list({listener("nginx.service", "", 0)});
    EXPECT_THAT(list({listener("apache.service", "", 0)}), IsEmpty());
    EXPECT_THAT(list({listener("apache.service", "", 0)}), ElementsAre("apache.service"));
}

TEST_F(ListedProgramsTest, HandsOnTheFirstNameOfAPortForAsLongAsItIsListed)
{
    const RawPortInfo first = listener("a.service", "", 0);
    const RawPortInfo second = listener("b.service", "", 0);
    EXPECT_THAT(list({first, second}), ElementsAre("a.service"));
    EXPECT_THAT(list({second, first}), ElementsAre("a.service"));
    EXPECT_THAT(list({first}), ElementsAre("a.service"));
    EXPECT_THAT(list({second}), IsEmpty());
    EXPECT_THAT(list({second}), ElementsAre("b.service"));
}

TEST_F(ListedProgramsTest, TakesEveryListenerUpAnewAfterAListingThatFailed)
{
    list({listener("sh", "/bin/sh")});
    list({});
    EXPECT_THAT(list({listener("node")}), ElementsAre("node"));
}
