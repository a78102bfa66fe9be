// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/SessionBus.h"

#include "tests/Support/PrivateBus.h"
#include "tests/Support/ScopedEnvironment.h"
#include "tests/Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <string>
#include <variant>

namespace Tarnwick {
namespace {

/// Where the session bus is looked for.
class SessionBusTest : public ::testing::Test
{
protected:
    /// Whether the bus says hello on the connection.
    [[nodiscard]] static bool isOnBus(const std::variant<BusHandle, int> &opened)
    {
        const auto *bus = std::get_if<BusHandle>(&opened);
        const char *name = nullptr;
        return bus != nullptr && sd_bus_get_unique_name(bus->get(), &name) >= 0;
    }

    PrivateBus m_bus;
    TemporaryFolder m_folder;
};

TEST_F(SessionBusTest, IsAtTheAddressInTheEnvironment)
{
    const ScopedEnvironment address("DBUS_SESSION_BUS_ADDRESS", m_bus.address());
    EXPECT_TRUE(isOnBus(openSessionBus()));
}

TEST_F(SessionBusTest, IsInTheRuntimeFolderWhateverItsName)
{
    const std::string prefix = "unix:path=";
    const std::filesystem::path folder = m_folder.path() / "a b%20,;=\xc3\xa4";
    std::filesystem::create_directory_symlink(
        std::filesystem::path(m_bus.address().substr(prefix.size())).parent_path(), folder);
    const ScopedEnvironment address("DBUS_SESSION_BUS_ADDRESS", std::nullopt);
    const ScopedEnvironment runtime("XDG_RUNTIME_DIR", folder.string());
    EXPECT_TRUE(isOnBus(openSessionBus()));
}

TEST_F(SessionBusTest, IsInTheRuntimeFolderWhereTheAddressIsEmpty)
{
    const std::string prefix = "unix:path=";
    const std::filesystem::path socket = m_bus.address().substr(prefix.size());
    const ScopedEnvironment address("DBUS_SESSION_BUS_ADDRESS", "");
    const ScopedEnvironment runtime("XDG_RUNTIME_DIR", socket.parent_path().string());
    EXPECT_TRUE(isOnBus(openSessionBus()));
}

TEST_F(SessionBusTest, IsMissingWhereNothingSaysWhereItIs)
{
    const ScopedEnvironment address("DBUS_SESSION_BUS_ADDRESS", std::nullopt);
    const ScopedEnvironment runtime("XDG_RUNTIME_DIR", std::nullopt);
    const std::variant<BusHandle, int> opened = openSessionBus();
    const int *failed = std::get_if<int>(&opened);
    ASSERT_NE(failed, nullptr);
    EXPECT_EQ(*failed, ENOMEDIUM);
}

} // namespace
} // namespace Tarnwick
