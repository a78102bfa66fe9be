// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/EventLoop.h"
#include "Helper/ListenerInventory.h"
#include "Helper/ProcessTerminator.h"
#include "Shared/HelperProtocol.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace Tarnwick {

/// What the helper does, whatever channel the requests come through: it lists, and it ends
/// processes. Every request is answered exactly once. The end of a process is awaited through the
/// event loop, so that listings go on meanwhile. Channels deal with who may ask and with how fast
/// the answers can be sent. One thread, the event loop's.
class HelperService
{
public:
    /// The payload of a listing (see RawPortInfo::encode), shared by all that are answered with it.
    using Payload = std::shared_ptr<const std::string>;
    using ListAnswer = std::variant<Payload, ListingError>;
    using ListReply = std::function<void(const ListAnswer &)>;
    using KillReply = std::function<void(KillResultCode)>;

    /// What the service does its work with.
    struct Work
    {
        std::function<Listing()> list;
        std::function<ProcessTerminator::Started(std::int32_t pid,
                                                 std::optional<std::int32_t> caller)>
            beginToEnd;
    };

    HelperService(EventLoop &loop, Work work);
    ~HelperService();
    HelperService(const HelperService &) = delete;
    HelperService &operator=(const HelperService &) = delete;

    /// Answers with a listing that is begun after this call: when the channel has nothing else to
    /// bring, or after @ref longestWait, so that whoever keeps the channel busy does not keep the
    /// others waiting. Requests that wait together are answered with one listing, so that a flood
    /// of them costs little more than one.
    void listListeningPorts(ListReply reply);

    /// Asks process @p pid to end for @p caller, another process, if the channel knows which; the
    /// answer comes when it has ended or was refused (see ProcessTerminator). Requests for a
    /// process that is about to end are answered together.
    void killProcess(std::int32_t pid, std::optional<std::int32_t> caller, KillReply reply);

    static constexpr std::chrono::milliseconds longestWait{50};

private:
    struct Ending;

    void answerListings();
    [[nodiscard]] ListAnswer listing();
    void await(std::int32_t pid, Termination termination, KillReply reply);
    void advance(std::int32_t pid);
    void waitForDeadline(std::int32_t pid, Ending &ending);

    EventLoop &m_loop;
    Work m_work;
    std::vector<ListReply> m_listReplies;
    std::array<std::unique_ptr<EventLoop::Wait>, 2> m_listingDue; ///< one or the other
    std::map<std::int32_t, std::unique_ptr<Ending>> m_endings;    ///< by process identifier
};

} // namespace Tarnwick
