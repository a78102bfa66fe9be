// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/EventLoop.h"
#include "Helper/ListenerInventory.h"
#include "Helper/ListingPayload.h"
#include "Helper/ProcessTerminator.h"
#include "Shared/HelperProtocol.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

namespace Tarnwick {

/// What the helper does, whatever channel the requests come through: it lists, and it ends
/// processes. Every request is answered exactly once. Requests that wait together share one scan,
/// listings and kills alike, so that a flood of them costs little more than one. The end of a
/// process is awaited through the event loop, so that listings go on meanwhile. Channels deal with
/// who may ask, with what each client was shown, and with how fast the answers can be sent. One
/// thread, the event loop's.
class HelperService
{
public:
    /// The payload of a listing, shared by all that are answered with it.
    using Payload = std::shared_ptr<const ListingPayload>;
    using ListAnswer = std::variant<Payload, ListingError>;
    using ListReply = std::function<void(const ListAnswer &)>;
    using KillReply = std::function<void(const KillAnswer &)>;

    /// What the service does its work with, as the inventory and the terminator promise.
    struct Work
    {
        std::function<Scan(const ScanRequest &request)> scan;
        std::function<ProcessTerminator::Admitted(std::int32_t pid, const ProcessIdentity *meant,
                                                  std::optional<std::int32_t> caller)>
            admit;
        std::function<ProcessTerminator::Started(ProcessTerminator::Target target,
                                                 const Ownership &ownership)>
            start;
    };

    /// The real work; both outlive the service.
    [[nodiscard]] static Work workOf(ListenerInventory &inventory,
                                     const ProcessTerminator &terminator);

    HelperService(EventLoop &loop, Work work);
    ~HelperService();
    HelperService(const HelperService &) = delete;
    HelperService &operator=(const HelperService &) = delete;

    /// Answers with a listing of a scan that begins after this call: when the channel has nothing
    /// else to bring, or after @ref longestWait, so that a client that keeps the channel busy
    /// does not delay the others.
    void listListeningPorts(ListReply reply);

    struct KillRequest
    {
        std::int32_t pid = 0;
        /// The listing that the client was sent last, and so goes by; none for one that never
        /// listed, who goes by the latest listing that anybody got.
        SharedProcessReport shown;
        std::optional<std::int32_t> caller; ///< the asking process, if the channel knows it
    };

    /// Asks a process to end; the answer comes when it has ended or was refused (see
    /// ProcessTerminator). What needs no scan to be refused is answered at once; the others wait
    /// for a scan as listings do. Requests for the same process that is about to end are answered
    /// together.
    void killProcess(const KillRequest &request, KillReply reply);

    /// Whether no kill was requested that goes on.
    [[nodiscard]] bool isIdle() const { return m_endings.empty() && m_kills.empty(); }

    static constexpr std::chrono::milliseconds longestWait{50};

private:
    struct Ending;
    struct Waiting
    {
        ProcessTerminator::Target target;
        std::vector<KillReply> replies;
    };
    using WaitingKills = std::map<std::int32_t, Waiting>;

    void awaitRound();
    void doRound();
    void answerListings(const std::vector<ListReply> &replies, const Scan &scan);
    /// What these do, or an error where memory runs out on the way.
    [[nodiscard]] static ListAnswer payload(const ScanResult &found);
    [[nodiscard]] ProcessTerminator::Started terminate(ProcessTerminator::Target target,
                                                       const Ownership &ownership);
    void answerForEnded(std::int32_t pid);
    void start(WaitingKills kills, const Scan &scan);
    void await(Termination termination, std::int32_t pid, std::vector<KillReply> replies);
    void advance(std::int32_t pid);
    void waitForDeadline(std::int32_t pid, Ending &ending);

    EventLoop &m_loop;
    Work m_work;
    SharedProcessReport m_report; ///< of the latest listing
    std::vector<ListReply> m_listReplies;
    WaitingKills m_kills;                                       ///< by process identifier
    std::array<std::unique_ptr<EventLoop::Wait>, 2> m_roundDue; ///< one or the other
    std::map<std::int32_t, std::unique_ptr<Ending>> m_endings;  ///< by process identifier
};

} // namespace Tarnwick
