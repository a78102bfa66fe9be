// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/Link/BusCaller.h"
#include "tests/Support/HelperProcess.h"
#include "tests/Support/PrivateBus.h"
#include "tests/Support/Puppet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

namespace Tarnwick {

/// The real helper on a bus of its own, and one client of it.
class HelperFixture : public ::testing::Test
{
protected:
    explicit HelperFixture(const PrivateBus::Options &options = {})
        : m_bus(options)
    {
    }

    void SetUp() override { ASSERT_TRUE(m_caller.awaitHelper()) << m_helper.output(); }

    /// The helper is alive and does its work.
    void TearDown() override
    {
        if (!m_helper.hasEnded()) {
            BusCaller witness(m_bus.address());
            EXPECT_TRUE(witness.list().records().has_value());
        }
        EXPECT_FALSE(m_helper.hasEnded()) << m_helper.output();
    }

    /// Who listens on @p port, according to an answer; nothing when nobody does.
    [[nodiscard]] static std::optional<std::int64_t> owner(const BusCaller::Answer &answer,
                                                           int port)
    {
        const auto records = answer.records();
        EXPECT_TRUE(records.has_value()) << answer.error;
        if (!records) {
            return std::nullopt;
        }
        const auto found =
            std::find_if(records->begin(), records->end(),
                         [port](const RawPortInfo &record) { return record.port == port; });
        return found == records->end() ? std::nullopt : std::optional(found->pid);
    }

    PrivateBus m_bus;
    HelperProcess m_helper{m_bus};
    BusCaller m_caller{m_bus.address()};
};

} // namespace Tarnwick
