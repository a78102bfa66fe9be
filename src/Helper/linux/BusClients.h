// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ProcessReport.h"
#include "Helper/linux/BusDaemonCalls.h"
#include "Helper/linux/BusHandles.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include <sys/types.h>

namespace Tarnwick {

/// Who has asked the helper something and is still on the bus. The bus tells who is behind a name
/// and when that one leaves; nothing here waits for its answers.
class BusClients
{
public:
    struct Identity
    {
        uid_t user = 0;
        std::optional<std::int32_t> process; ///< where the bus knows it
    };
    /// A client of which it is not known who it is.
    struct Unidentified
    {
        int error = 0; ///< errno of what failed; 0 where the bus does not say, or does not watch it
    };
    using Identification = std::variant<Identity, Unidentified>;
    using Known = std::function<void(const Identification &)>;

    /// @p changed is called when a client has come and when one has left. The bus and its daemon's
    /// calls outlive the clients.
    BusClients(sd_bus *bus, BusDaemonCalls &daemon, std::function<void()> changed);
    ~BusClients();
    BusClients(const BusClients &) = delete;
    BusClients &operator=(const BusClients &) = delete;

    /// Calls @p known when the bus has said who @p name, a unique name, is, or does not say, mostly
    /// because that one has left already, or could not be asked. Until the client has left, or its
    /// requests are answered where it is unidentified, the result stays what it is.
    void identify(const std::string &name, Known known);

    [[nodiscard]] bool contains(const std::string &name) const;
    [[nodiscard]] bool isEmpty() const { return m_clients.empty(); }

    /// Counts @p name as a client although it has asked for nothing that needs an answer of ours.
    void meet(const std::string &name);

    /// Counts @p request as unanswered, unless its client has @ref mostUnanswered of them.
    [[nodiscard]] bool admit(sd_bus_message *request);
    /// Takes one that was admitted off again; the client may have left.
    void answered(sd_bus_message *request);
    [[nodiscard]] bool allAnswered() const;

    /// Notes the listing that @p name got; the client may have left.
    void show(const std::string &name, SharedProcessReport report);
    /// The listing that @p name got last; none when it never got one.
    [[nodiscard]] SharedProcessReport shown(const std::string &name) const;

    static constexpr std::size_t mostUnanswered = 1024;

    /// How many processes all the different listings that clients got may hold. Past it the clients
    /// that got theirs first have to list again before they can have anything ended.
    static constexpr std::size_t mostShown = 262'144;

private:
    struct Client;

    Client &client(const std::string &name);
    void watch(Client &client);
    void settle(Client &client, Identification identification);
    void remove(const Client &client);
    void removeIfUnidentified(const std::string &name);
    void ownerChanged(sd_bus_message *signal);
    void setShown(Client &client, SharedProcessReport report);
    void limitShown();
    static int onMessage(sd_bus_message *message, void *clients, sd_bus_error *error);

    BusDaemonCalls &m_daemon;
    std::function<void()> m_changed;
    std::map<std::string, std::unique_ptr<Client>> m_clients; ///< by unique name
    std::uint64_t m_shows = 0;
    std::size_t m_shown = 0; ///< processes, those of shared listings more than once
    BusSlot m_filter;
};

} // namespace Tarnwick
