// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/HelperConnection.h"
#include "Platform/linux/BusLink.h"

#include <QString>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class QTimer;

namespace Tarnwick {

/// The requests of one connection to the helper: they are kept until the helper was found, then
/// sent, and refused after the connection has ended. The helper kills only what it has reported, so
/// kills wait until it has answered a listing over this connection, and one is requested for that
/// where none was. A listing that is overdue is logged. Shared by the connection, its proxies and
/// the calls in flight. Main thread.
class HelperRequests : public std::enable_shared_from_this<HelperRequests>
{
public:
    /// A listing that takes longer is logged, once until the next one is answered.
    static constexpr std::chrono::seconds overdueAfter{10};

    struct Peer
    {
        std::shared_ptr<BusLink> link;
        QString owner; ///< the helper's unique name
    };
    struct Kill
    {
        std::int32_t pid = 0;
        HelperProxy::KillReply reply;
        HelperConnection::ErrorHandler failed;
    };

    /// See HelperProxy; @p lost gets the reason when there is no reply.
    void list(HelperProxy::ListReply listed, HelperConnection::ErrorHandler lost);
    void kill(Kill kill);

    /// Sends what waits, and from now on everything, to @p found.
    void sendTo(Peer found);
    /// Refuses what waits and everything from now on.
    void refuse(std::string why);
    [[nodiscard]] bool isRefused() const { return m_refusal.has_value(); }

private:
    /// Sends a request, or reports the refusal when there is no peer.
    using Request =
        std::function<void(const std::optional<Peer> &peer, const std::string &refusal)>;

    [[nodiscard]] std::shared_ptr<QTimer> startAlarm();
    void add(Request request);
    void sendWaiting();
    void sendList(const Peer &to, HelperProxy::ListReply reply,
                  HelperConnection::ErrorHandler failed);
    void sendKill(const Peer &to, const Kill &kill);
    void listForKills(const Peer &to);

    std::optional<Peer> m_peer; ///< absent before the helper was found and after the end
    std::optional<std::string> m_refusal;
    std::vector<Request> m_waiting;
    bool m_hasListed = false;  ///< the helper has answered a listing
    bool m_isOverdue = false;  ///< a listing is, and the log says so
    std::vector<Kill> m_kills; ///< waiting for a listing
};

} // namespace Tarnwick
