// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/HelperService.h"
#include "Helper/linux/BusClients.h"
#include "Helper/linux/BusDaemonCalls.h"
#include "Helper/linux/BusHandles.h"
#include "Helper/linux/BusOutput.h"
#include "Helper/linux/PayloadQueue.h"
#include "Helper/linux/ReplyQueue.h"
#include "Helper/linux/SystemdEventLoop.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <variant>

namespace Tarnwick {

/// The helper's channel on Linux: the session bus. Hands requests of its own user over to the
/// service and ends the loop when nobody has been there for a while, or at once when nobody is left
/// after another helper has taken the name over, with status 0. It ends the loop with EXIT_FAILURE
/// and a line on standard error when the connection has ended, or when the bus has read nothing of
/// what was sent on it for BusOutput::maxStop. The interface is the one in
/// Shared/com.velmora.tarnwick.helper.xml.
class HelperBus
{
public:
    /// How long the helper stays after its last client has left the bus.
    static constexpr std::chrono::seconds usualPatience{30};

    /// What to do when another process has the helper's name.
    enum class Claim : std::uint8_t {
        IfFree,  ///< leave it the name
        Replace, ///< take the name over, if it is a helper: only these allow it
    };

    /// On the bus and under the helper's name, or why not, for people. The loop and the service
    /// outlive the channel.
    using Opened = std::variant<std::unique_ptr<HelperBus>, std::string>;
    [[nodiscard]] static Opened open(SystemdEventLoop &loop, HelperService &service,
                                     EventLoop::Clock::duration patience = usualPatience,
                                     Claim claim = Claim::IfFree);

    HelperBus(BusHandle bus, SystemdEventLoop &loop, HelperService &service,
              EventLoop::Clock::duration patience);

    static int onListListeningPorts(sd_bus_message *request, void *channel, sd_bus_error *error);
    static int onKillProcess(sd_bus_message *request, void *channel, sd_bus_error *error);
    static int onGetVersion(sd_bus *bus, const char *path, const char *interface,
                            const char *property, sd_bus_message *reply, void *channel,
                            sd_bus_error *error);

private:
    using Operation = void (HelperBus::*)(const BusMessage &request,
                                          const BusClients::Identity &client);

    void receiveMessage(sd_bus_message *message);
    [[nodiscard]] std::string claimName(Claim claim);
    int receiveFromC(sd_bus_message *request, Operation operation);
    void receive(sd_bus_message *request, Operation operation);
    void serve(const BusMessage &request, Operation operation,
               const BusClients::Identification &identification);
    void list(const BusMessage &request, const BusClients::Identity &client);
    void kill(const BusMessage &request, const BusClients::Identity &client);
    void clientsChanged();
    void nameLost();
    void tidyUpLater();
    void giveNameUp();
    void leaveWhenDone();
    void leaveWithFailure(const char *why);
    void leaveStoppedBus();
    [[nodiscard]] bool isDone() const;
    [[nodiscard]] std::string nameOwner();
    static int onMessage(sd_bus_message *message, void *channel, sd_bus_error *error);
    void onLastWord();

    BusHandle m_bus;
    SystemdEventLoop &m_loop;
    HelperService &m_service;
    EventLoop::Clock::duration m_patience;
    BusSlot m_interface;
    BusSlot m_filter;
    BusDaemonCalls m_daemon;
    BusClients m_clients;
    ReplyQueue m_replies;
    PayloadQueue m_payloads;
    BusOutput m_output;
    bool m_hasLostName = false; ///< to another helper; the clients that are there are still served
    std::unique_ptr<EventLoop::Wait> m_alone; ///< since the last client left
    std::unique_ptr<EventLoop::Wait> m_leaving;
    BusDaemonCalls::Id m_lastWord = 0; ///< while leaving, a call of the bus daemon
    std::unique_ptr<EventLoop::Wait> m_leaveRetry;
    std::unique_ptr<EventLoop::Wait> m_tidying;
    std::unique_ptr<EventLoop::Wait> m_disconnect;
};

} // namespace Tarnwick
