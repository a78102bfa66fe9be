// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ListenerInventory.h"

#include "tests/Helper/InventoryFixture.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <optional>

namespace {

/// How many allocations succeed before one fails; negative when none is to fail.
std::atomic<long> allocationsLeft{-1};
/// Whether all that follow that one fail as well.
std::atomic<bool> fromThenOn{false};

bool isToFail()
{
    long left = allocationsLeft.load();
    while (left >= 0) {
        const long next = left == 0 && fromThenOn ? 0 : left - 1;
        if (allocationsLeft.compare_exchange_weak(left, next)) {
            return left == 0;
        }
    }
    return false;
}

} // namespace

// In the place of the library's own, for the whole program. Not inlined: where GCC inlines one of a
// pair, it warns of memory that another allocator frees.
[[gnu::noinline]] void *operator new(std::size_t size)
{
    if (isToFail()) {
        throw std::bad_alloc();
    }
    if (void *memory = std::malloc(size != 0 ? size : 1)) {
        return memory;
    }
    throw std::bad_alloc();
}

[[gnu::noinline]] void *operator new(std::size_t size, const std::nothrow_t & /*tag*/) noexcept
{
    return isToFail() ? nullptr : std::malloc(size != 0 ? size : 1);
}

[[gnu::noinline]] void operator delete(void *memory) noexcept
{
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void *memory, const std::nothrow_t & /*tag*/) noexcept
{
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void *memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}

namespace Tarnwick {
namespace {

/// What a listing is in which memory runs out.
class ExhaustedMemory : public InventoryFixture, public ::testing::WithParamInterface<bool>
{
protected:
    /// A listing in which allocation @p failing fails; nothing when there were not so many.
    [[nodiscard]] static std::optional<Listing> list(ListenerInventory &inventory, long failing)
    {
        fromThenOn = GetParam();
        allocationsLeft = failing;
        Listing listing = inventory.list();
        const bool hasFailed = fromThenOn ? allocationsLeft == 0 : allocationsLeft < 0;
        allocationsLeft = -1;
        return hasFailed ? std::optional(std::move(listing)) : std::nullopt;
    }

    /// Expects of @p listing that it says what failed, or nothing that is wrong.
    void expectTrue(const Listing &listing, const Puppet &server, int port, long failing) const
    {
        if (const auto *error = std::get_if<ListingError>(&listing)) {
            EXPECT_EQ(error->code, ENOMEM);
            EXPECT_EQ(error->message, "no memory left");
            return;
        }
        EXPECT_EQ(only(std::get<Records>(listing), port).pid, server.pid()) << failing;
    }
};

TEST_P(ExhaustedMemory, EndsAFirstListingWithAnErrorAndTheNextIsRight)
{
    Puppet server;
    const int port = server.listen().port;
    bool isPassed = false;
    for (long failing = 0; !isPassed; failing += 1 + failing / 20) {
        ListenerInventory inventory;
        const std::optional<Listing> listing = list(inventory, failing);
        isPassed = !listing;
        if (listing) {
            expectTrue(*listing, server, port, failing);
        }
        ASSERT_EQ(only(InventoryFixture::list(inventory), port).pid, server.pid()) << failing;
    }
}

TEST_P(ExhaustedMemory, EndsALaterListingWithAnErrorAndTheNextIsRight)
{
    Puppet server;
    const int first = server.listen().port;
    static_cast<void>(InventoryFixture::list(m_inventory));
    bool isPassed = false;
    for (long failing = 0; !isPassed; failing += 1 + failing / 20) {
        Puppet newcomer;
        const int port = newcomer.listen().port;
        const std::optional<Listing> listing = list(m_inventory, failing);
        isPassed = !listing;
        if (listing) {
            expectTrue(*listing, newcomer, port, failing);
        }
        const Records records = InventoryFixture::list(m_inventory);
        ASSERT_EQ(only(records, port).pid, newcomer.pid()) << failing;
        ASSERT_EQ(only(records, first).pid, server.pid()) << failing;
        ASSERT_NE(m_inventory.report()->find(newcomer.pid()), nullptr);
    }
}

INSTANTIATE_TEST_SUITE_P(OnceOrFromThenOn, ExhaustedMemory, ::testing::Bool());

} // namespace
} // namespace Tarnwick
