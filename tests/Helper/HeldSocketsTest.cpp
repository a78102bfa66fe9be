// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/HeldSockets.h"

#include "Helper/linux/ProcFs.h"
#include "tests/Helper/InventoryFixture.h"

#include <cerrno>
#include <chrono>
#include <variant>
#include <vector>

namespace Tarnwick {
namespace {

using Clock = std::chrono::steady_clock;

/// Whether one process holds a listener.
class HeldSocketsTest : public InventoryFixture
{
protected:
    [[nodiscard]] std::variant<bool, int> any(pid_t pid, HeldSockets::Deadline deadline) const
    {
        SocketDump dump(ListenerInventory::SocketSource::Automatic);
        std::vector<ListeningSocket> sockets;
        EXPECT_FALSE(dump.list(sockets).has_value());
        return HeldSockets::any(m_root.get(), pid, sockets, deadline);
    }

    [[nodiscard]] static HeldSockets::Deadline farOff()
    {
        return Clock::now() + std::chrono::minutes(1);
    }

    FileDescriptor m_root = ProcFs::openRoot();
};

TEST_F(HeldSocketsTest, AreFoundAmongManyDescriptors)
{
    Puppet server;
    server.openFiles(900);
    EXPECT_EQ(any(server.pid(), farOff()), (std::variant<bool, int>(false)));
    server.listen(Puppet::Family::V4, 950);
    EXPECT_EQ(any(server.pid(), farOff()), (std::variant<bool, int>(true)));
}

TEST_F(HeldSocketsTest, AreUnknownWhereTheTimeIsOver)
{
    Puppet server;
    server.listen();
    EXPECT_EQ(any(server.pid(), Clock::now()), (std::variant<bool, int>(ETIME)));
}

TEST_F(HeldSocketsTest, AreUnknownToAnInventoryThatHasNoTimeForThem)
{
    ListenerInventory::Options options;
    options.maxSearchTime = std::chrono::milliseconds(0);
    ListenerInventory inventory(options);
    Puppet server;
    server.listen();
    static_cast<void>(list(inventory));
    EXPECT_EQ(inventory.holdsListener(server.pid()), (std::variant<bool, int>(ETIME)));
    static_cast<void>(list(m_inventory));
    EXPECT_EQ(m_inventory.holdsListener(server.pid()), (std::variant<bool, int>(true)));
}

} // namespace
} // namespace Tarnwick
