// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/HelperService.h"

#include "Shared/RawPortInfo.h"

#include <utility>

namespace Tarnwick {

/// A process that was asked to end, and who wants to know.
struct HelperService::Ending
{
    Termination termination;
    std::vector<KillReply> replies;
    std::unique_ptr<EventLoop::Wait> end;
    std::unique_ptr<EventLoop::Wait> deadline;
};

HelperService::HelperService(EventLoop &loop, Work work)
    : m_loop(loop)
    , m_work(std::move(work))
{
}

HelperService::~HelperService() = default;

void HelperService::listListeningPorts(ListReply reply)
{
    m_listReplies.push_back(std::move(reply));
    if (m_listReplies.size() == 1) {
        const auto answer = [this] { answerListings(); };
        m_listingDue = {m_loop.whenIdle(answer),
                        m_loop.at(EventLoop::Clock::now() + longestWait, answer)};
    }
}

void HelperService::answerListings()
{
    m_listingDue = {};
    const std::vector<ListReply> replies = std::exchange(m_listReplies, {});
    const ListAnswer answer = listing();
    for (const ListReply &reply : replies) {
        reply(answer);
    }
}

HelperService::ListAnswer HelperService::listing()
{
    const Listing listing = m_work.list();
    if (const auto *error = std::get_if<ListingError>(&listing)) {
        return *error;
    }
    return std::make_shared<const std::string>(
        RawPortInfo::encode(std::get<std::vector<RawPortInfo>>(listing)));
}

void HelperService::killProcess(std::int32_t pid, std::optional<std::int32_t> caller,
                                KillReply reply)
{
    // A process that ended just now may have left its identifier to another one.
    advance(pid);
    if (const auto ending = m_endings.find(pid); ending != m_endings.end() && caller != pid) {
        ending->second->replies.push_back(std::move(reply));
        return;
    }
    ProcessTerminator::Started started = m_work.beginToEnd(pid, caller);
    if (const auto *code = std::get_if<KillResultCode>(&started)) {
        reply(*code);
        return;
    }
    await(pid, std::get<Termination>(std::move(started)), std::move(reply));
}

void HelperService::await(std::int32_t pid, Termination termination, KillReply reply)
{
    const auto [place, added] = m_endings.emplace(
        pid, std::make_unique<Ending>(Ending{std::move(termination), {}, nullptr, nullptr}));
    Ending &ending = *place->second;
    ending.replies.push_back(std::move(reply));
    ending.end =
        m_loop.whenReadable(ending.termination.descriptor(), [this, pid] { advance(pid); });
    waitForDeadline(pid, ending);
}

void HelperService::advance(std::int32_t pid)
{
    const auto place = m_endings.find(pid);
    if (place == m_endings.end()) {
        return;
    }
    const std::optional<KillResultCode> code = place->second->termination.advance();
    if (!code) {
        waitForDeadline(pid, *place->second);
        return;
    }
    const std::unique_ptr<Ending> ended = std::move(place->second);
    m_endings.erase(place);
    for (const KillReply &reply : ended->replies) {
        reply(*code);
    }
}

void HelperService::waitForDeadline(std::int32_t pid, Ending &ending)
{
    // The wait that is replaced may be the one that has just called.
    const std::unique_ptr<EventLoop::Wait> previous = std::exchange(
        ending.deadline, m_loop.at(ending.termination.deadline(), [this, pid] { advance(pid); }));
}

} // namespace Tarnwick
