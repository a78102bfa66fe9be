// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ListenerInventory.h"
#include "tests/Support/Puppet.h"
#include "tests/Support/TemporaryCopy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace Tarnwick {

/// The real inventory over the real kernel, and a look at what it says of a test's own listeners.
class InventoryFixture : public ::testing::Test
{
protected:
    using Records = std::vector<RawPortInfo>;

    [[nodiscard]] static Records list(ListenerInventory &inventory)
    {
        Listing listing = inventory.list();
        if (const auto *error = std::get_if<ListingError>(&listing)) {
            ADD_FAILURE() << error->message;
            return {};
        }
        return std::get<Records>(std::move(listing));
    }

    /// A listing with nothing remembered.
    [[nodiscard]] static Records coldList()
    {
        ListenerInventory inventory;
        return list(inventory);
    }

    [[nodiscard]] static Records on(const Records &records, int port)
    {
        Records found;
        std::copy_if(records.begin(), records.end(), std::back_inserter(found),
                     [port](const RawPortInfo &record) { return record.port == port; });
        return found;
    }

    /// The only record for @p port; an empty one, and a failure, when there is not just one.
    [[nodiscard]] static RawPortInfo only(const Records &records, int port)
    {
        Records found = on(records, port);
        EXPECT_EQ(found.size(), 1U) << "records on port " << port;
        return found.size() == 1 ? found.front() : RawPortInfo{};
    }

    /// The owner of the only listener on @p port, according to a warm and to a cold listing, which
    /// must agree.
    [[nodiscard]] std::int64_t owner(int port)
    {
        const std::int64_t warm = only(list(m_inventory), port).pid;
        EXPECT_EQ(only(coldList(), port).pid, warm) << "a cold listing differs from a warm one";
        return warm;
    }

    ListenerInventory m_inventory;
};

} // namespace Tarnwick
