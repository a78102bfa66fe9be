// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/VisitedJson.h"

#include "tests/CommandLine/CommandFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Tarnwick {

namespace {

using testing::HasSubstr;

/// Takes note of the processes whose surroundings are wanted, and has rules for tiers.
class NumberedOwners : public PreparedListings
{
public:
    explicit NumberedOwners(std::vector<TierRule> tierRules)
        : rules(std::make_shared<TierRules>(std::move(tierRules)))
    {
    }

    [[nodiscard]] SharedTierRules tierRules() override { return rules; }

    [[nodiscard]] std::vector<Ancestor> listedAncestors(std::int32_t pid) override
    {
        wanted.push_back(pid);
        return {{.pid = pid + 1, .name = "parent"}};
    }

    SharedTierRules rules;
    std::vector<std::int32_t> wanted;
};

/// Visits one listener of the owner with that number, and the record as it would be there: the same
/// object for each number.
class Visit
{
public:
    explicit Visit(Selection selection = {}, std::vector<TierRule> rules = {})
        : source(std::move(rules))
        , m_filter(std::move(selection), {})
    {
    }

    void add(std::size_t owner, std::int64_t port, const ListenerDetails &details)
    {
        RawPortInfo &shared = m_records[owner];
        shared = record(port, static_cast<std::int64_t>(owner), "node" + std::to_string(owner));
        m_listeners.push_back(listenersFrom({shared}, {}, {details}, *source.rules).front());
        m_listeners.back().ancestors = {
            {.pid = static_cast<std::int32_t>(owner) + 1, .name = "parent"}};
        const VisitedListener visited{
            .record = &shared, .details = &m_listeners.back().details, .owner = owner};
        json.add({&visited, 1});
    }

    std::string finish()
    {
        EXPECT_FALSE(json.finish());
        return m_output.written;
    }

    /// What a listing of the same listeners is.
    [[nodiscard]] std::string expected()
    {
        m_filter.apply(m_listeners);
        WrittenText output;
        EXPECT_FALSE(JsonListing::write(m_listeners, output));
        return output.written;
    }

    NumberedOwners source;

private:
    ListenerFilter m_filter;
    WrittenText m_output;
    std::map<std::size_t, RawPortInfo> m_records;
    std::vector<Listener> m_listeners;

public:
    VisitedJson json{source, m_filter, m_output};
};

/// Three listeners of one owner and one of another.
void addAll(Visit &visit)
{
    visit.add(1, 22, at("0.0.0.0"));
    visit.add(2, 80, at("::1"));
    visit.add(1, 5005, at("127.0.0.1"));
    visit.add(1, 6000, at("127.0.0.1"));
}

} // namespace

TEST(VisitedJson, IsTheJsonOfAListing)
{
    Visit visit;
    addAll(visit);
    EXPECT_EQ(visit.finish(), visit.expected());
}

TEST(VisitedJson, LooksAroundEachOwnerOnce)
{
    Visit visit;
    addAll(visit);
    EXPECT_THAT(visit.source.wanted, testing::ElementsAre(1, 2));
}

TEST(VisitedJson, LooksAroundNoOwnerThatIsLeftOut)
{
    Visit visit({.ports = {{80, 80}}});
    addAll(visit);
    EXPECT_EQ(visit.finish(), visit.expected());
    EXPECT_THAT(visit.source.wanted, testing::ElementsAre(2));
}

TEST(VisitedJson, FollowsRulesForCertainPorts)
{
    Visit visit(
        {},
        {TierRule{.tier = PortTier::App, .description = "a debugger", .ports = {{5005, 5005}}}});
    addAll(visit);
    const std::string json = visit.finish();
    EXPECT_EQ(json, visit.expected());
    EXPECT_THAT(json, HasSubstr(R"("tier":"app","description":"a debugger","address")"));
    EXPECT_THAT(json, HasSubstr(R"("tier":"dev","description":"node1","address")"));
}

TEST(VisitedJson, IsEmptyWhereTheFilterLeavesNothing)
{
    Visit visit({.search = "postgres"});
    addAll(visit);
    EXPECT_TRUE(visit.json.isEmpty());
    EXPECT_EQ(visit.finish(), "[]\n");
}

} // namespace Tarnwick
