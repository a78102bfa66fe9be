// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/HelperService.h"

#include <cerrno>
#include <cstddef>
#include <new>
#include <utility>

#include <poll.h>

namespace Tarnwick {

namespace {

void replyToAll(const std::vector<HelperService::KillReply> &replies, const KillAnswer &answer)
{
    for (const HelperService::KillReply &reply : replies) {
        reply(answer);
    }
}

bool hasEnded(const ProcessTerminator::Target &target)
{
    pollfd process = {.fd = target.process.get(), .events = POLLIN, .revents = 0};
    return ::poll(&process, 1, 0) > 0;
}

} // namespace

/// A process that was asked to end, and who wants to know.
struct HelperService::Ending
{
    Termination termination;
    std::vector<KillReply> replies;
    std::unique_ptr<EventLoop::Wait> end;
    std::unique_ptr<EventLoop::Wait> deadline;
};

HelperService::Work HelperService::workOf(ListenerInventory &inventory,
                                          const ProcessTerminator &terminator)
{
    return {.scan = [&inventory](const ScanRequest &request) { return inventory.scan(request); },
            .admit =
                [&terminator](std::int32_t pid, const ProcessIdentity *meant,
                              std::optional<std::int32_t> caller) {
                    return terminator.admit(pid, meant, caller);
                },
            .start =
                [&terminator](ProcessTerminator::Target target, const Ownership &ownership) {
                    return terminator.start(std::move(target), ownership);
                }};
}

HelperService::HelperService(EventLoop &loop, Work work)
    : m_loop(loop)
    , m_work(std::move(work))
{
}

HelperService::~HelperService() = default;

void HelperService::listListeningPorts(ListReply reply)
{
    awaitRound();
    m_listReplies.push_back(std::move(reply));
}

void HelperService::killProcess(const KillRequest &request, KillReply reply)
{
    const std::int32_t pid = request.pid;
    const SharedProcessReport &shown = request.shown ? request.shown : m_report;
    const ReportedProcess *meant = shown ? shown->find(pid) : nullptr;
    ProcessTerminator::Admitted admitted =
        m_work.admit(pid, meant != nullptr ? &meant->process : nullptr, request.caller);
    // A process that has ended may have left its identifier to the one that was admitted; one that
    // has not is the one that was admitted.
    advance(pid);
    answerForEnded(pid);
    if (const auto *code = std::get_if<KillResultCode>(&admitted)) {
        reply(*code);
        return;
    }
    if (const auto *error = std::get_if<KillError>(&admitted)) {
        reply(*error);
        return;
    }
    if (const auto ending = m_endings.find(pid); ending != m_endings.end()) {
        ending->second->replies.push_back(std::move(reply));
        return;
    }
    if (const auto waiting = m_kills.find(pid); waiting != m_kills.end()) {
        waiting->second.replies.push_back(std::move(reply));
        return;
    }
    awaitRound();
    Waiting waiting{std::get<ProcessTerminator::Target>(std::move(admitted)), {}};
    waiting.replies.push_back(std::move(reply));
    m_kills.emplace(pid, std::move(waiting));
}

/// Answers the kills that wait for a scan where their process needs none any more.
void HelperService::answerForEnded(std::int32_t pid)
{
    const auto place = m_kills.find(pid);
    if (place == m_kills.end() || !hasEnded(place->second.target)) {
        return;
    }
    const Waiting waiting = std::move(place->second);
    m_kills.erase(place);
    replyToAll(waiting.replies, KillResultCode::NotFound);
}

void HelperService::awaitRound()
{
    if (!m_roundDue[0]) {
        const auto round = [this] { doRound(); };
        m_roundDue = {m_loop.whenIdle(round),
                      m_loop.at(EventLoop::Clock::now() + longestWait, round)};
    }
}

void HelperService::doRound()
{
    m_roundDue = {};
    const std::vector<ListReply> listReplies = std::exchange(m_listReplies, {});
    WaitingKills kills = std::exchange(m_kills, {});
    ScanRequest request{.records = !listReplies.empty(), .owners = {}};
    for (const auto &[pid, waiting] : kills) {
        request.owners.push_back(pid);
    }
    const Scan scan = m_work.scan(request);
    start(std::move(kills), scan);
    answerListings(listReplies, scan);
}

HelperService::ListAnswer HelperService::payload(const ScanResult &found)
{
    try {
        auto made = std::make_shared<const ListingPayload>(found.records, found.report);
        if (made->bytes().size() > ListingPayload::maxSize) {
            return ListingError{EMSGSIZE, "the listing is larger than the bus takes"};
        }
        return made;
    } catch (const std::bad_alloc &) {
        return ListingError{ENOMEM, "no memory left"};
    }
}

ProcessTerminator::Started HelperService::terminate(ProcessTerminator::Target target,
                                                    const Ownership &ownership)
{
    try {
        return m_work.start(std::move(target), ownership);
    } catch (const std::bad_alloc &) {
        return KillError{ENOMEM, "no memory left"};
    }
}

void HelperService::answerListings(const std::vector<ListReply> &replies, const Scan &scan)
{
    if (replies.empty()) {
        return;
    }
    ListAnswer answer;
    if (const auto *error = std::get_if<ListingError>(&scan)) {
        answer = *error;
    } else {
        const auto &found = std::get<ScanResult>(scan);
        answer = payload(found);
        if (std::holds_alternative<Payload>(answer)) {
            m_report = found.report;
        }
    }
    for (const ListReply &reply : replies) {
        reply(answer);
    }
}

void HelperService::start(WaitingKills kills, const Scan &scan)
{
    std::size_t index = 0;
    for (auto &[pid, waiting] : kills) {
        if (const auto *error = std::get_if<ListingError>(&scan)) {
            replyToAll(waiting.replies, KillError{error->code, error->message});
            continue;
        }
        const Ownership &ownership = std::get<ScanResult>(scan).ownerships[index++];
        ProcessTerminator::Started started = terminate(std::move(waiting.target), ownership);
        if (const auto *code = std::get_if<KillResultCode>(&started)) {
            replyToAll(waiting.replies, *code);
        } else if (const auto *failed = std::get_if<KillError>(&started)) {
            replyToAll(waiting.replies, *failed);
        } else {
            await(std::get<Termination>(std::move(started)), pid, std::move(waiting.replies));
        }
    }
}

void HelperService::await(Termination termination, std::int32_t pid, std::vector<KillReply> replies)
{
    const auto [place, added] =
        m_endings.emplace(pid, std::make_unique<Ending>(Ending{
                                   std::move(termination), std::move(replies), nullptr, nullptr}));
    Ending &ending = *place->second;
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
    const std::optional<KillAnswer> result = place->second->termination.advance();
    if (!result) {
        waitForDeadline(pid, *place->second);
        return;
    }
    const std::unique_ptr<Ending> ended = std::move(place->second);
    m_endings.erase(place);
    replyToAll(ended->replies, *result);
}

void HelperService::waitForDeadline(std::int32_t pid, Ending &ending)
{
    // The wait that is replaced may be the one that has just called.
    const std::unique_ptr<EventLoop::Wait> previous = std::exchange(
        ending.deadline, m_loop.at(ending.termination.deadline(), [this, pid] { advance(pid); }));
}

} // namespace Tarnwick
