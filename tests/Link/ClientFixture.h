// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "App/HelperClient.h"
#include "Core/SerialExecutor.h"
#include "Platform/linux/BusHelperConnection.h"
#include "tests/Link/RunningHelper.h"
#include "tests/Support/Answer.h"
#include "tests/Support/HelperProcess.h"
#include "tests/Support/PrivateBus.h"
#include "tests/Support/RecordedLog.h"
#include "tests/Support/ScopedEnvironment.h"

// Last of ours: parameters in the others have the name of its constant.
#include "tests/Support/EventLoop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tarnwick {

/// The application's client on a real bus. What Qt connects with reads the address of the session's
/// bus once for each process: so there is one address, and a bus anew for each test.
class ClientFixture : public testing::Test
{
protected:
    using Records = std::vector<RawPortInfo>;
    using Scan = Answer<Records>;
    using Kill = Answer<KillResult>;

    ClientFixture() { m_bus.start(); }
    ~ClientFixture() override { m_bus.stop(); }

    static PrivateBus &sessionBus()
    {
        static PrivateBus bus;
        static const ScopedEnvironment address("DBUS_SESSION_BUS_ADDRESS", bus.address());
        return bus;
    }

    [[nodiscard]] std::unique_ptr<HelperClient> makeClient()
    {
        return std::make_unique<HelperClient>(
            [this] { return std::make_unique<BusHelperConnection>(m_program); }, m_decoder);
    }

    Scan scan() { return Scan(m_client->xpcScan()); }
    Kill kill(std::int64_t pid) { return Kill(m_client->xpcKill(pid)); }

    [[nodiscard]] static std::optional<Records> outcome(const Scan &scan)
    {
        return await([&scan] { return scan.isThere(); }) ? std::optional(scan.value())
                                                         : std::nullopt;
    }
    [[nodiscard]] static std::optional<KillResult> outcome(const Kill &kill)
    {
        return await([&kill] { return kill.isThere(); }) ? std::optional(kill.value())
                                                         : std::nullopt;
    }

    /// A scan, and whether it shows that @p pid listens on @p port.
    [[nodiscard]] bool lists(pid_t pid, int port)
    {
        const std::optional<Records> records = outcome(scan());
        return records && std::any_of(records->begin(), records->end(),
                                      [pid, port](const RawPortInfo &record) {
                                          return record.pid == pid && record.port == port;
                                      });
    }

    /// Runs the event loop until @p count lines are in the log and the client has done what it does
    /// about them.
    [[nodiscard]] bool awaitLines(std::size_t count)
    {
        return await([this, count] { return m_log.messages().size() >= count; }) && turn();
    }

    /// Runs what is on its way to the main thread now.
    [[nodiscard]] static bool turn(std::chrono::milliseconds bound = patience)
    {
        const auto turned = std::make_shared<bool>(false);
        MainThread::post([turned] { *turned = true; });
        return await([turned] { return *turned; }, bound);
    }

    PrivateBus &m_bus = sessionBus();
    RecordedLog m_log;
    SerialExecutor m_decoder;
    HelperProgram m_program{.path = HelperProcess::program(), .isInstalled = false};
    std::unique_ptr<HelperClient> m_client = makeClient();
};

} // namespace Tarnwick
