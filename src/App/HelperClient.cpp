// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/HelperClient.h"

#include "App/ListedPrograms.h"
#include "App/PendingReply.h"
#include "Core/MainThread.h"
#include "Core/SerialExecutor.h"
#include "Models/Precondition.h"
#include "Models/Timestamp.h"
#include "Platform/FileViewer.h"
#include "Shared/AppLog.h"
#include "Shared/Paths.h"
#include "Shared/RawPortInfo.h"

#include <QByteArray>

#include <algorithm>
#include <chrono>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <variant>

namespace Tarnwick {

namespace {

struct ListReply
{
    std::optional<QByteArray> payload;
    std::optional<HelperError> error;
};

struct KillReply
{
    std::int32_t code = 0;
    std::optional<HelperError> error;
};

RawPortInfo::Decoded decode(const QByteArray &payload)
{
    return RawPortInfo::decode(
        std::string_view(payload.constData(), static_cast<std::size_t>(payload.size())));
}

/// What distinguishes a process from another one with the same identifier.
struct ProcessIdentity
{
    std::string path; ///< of the executable, empty when unknown
    Timestamp startedAt;

    [[nodiscard]] bool isSame(const ProcessIdentity &other) const
    {
        const bool arePathsKnown = !path.empty() && !other.path.empty();
        return (!arePathsKnown || path == other.path) &&
               std::chrono::abs(startedAt - other.startedAt) <= startTolerance;
    }
};

/// By process identifier.
using ProcessIdentities = std::unordered_map<std::int64_t, ProcessIdentity>;

ProcessIdentities identitiesOf(const std::vector<RawPortInfo> &records)
{
    ProcessIdentities identities;
    for (const RawPortInfo &record : records) {
        identities.try_emplace(record.pid,
                               ProcessIdentity{record.commandPath, record.processStartedAt});
    }
    return identities;
}

/// The last listing that was handed on and had not failed. Main thread.
struct LastListing
{
    std::weak_ptr<HelperConnection> connection; ///< that it came over
    bool isFollowedByFailure = false;
    std::optional<ProcessIdentities> processes; ///< absent before the first one
    std::unordered_set<std::int64_t> leftOut;   ///< the processes that it listed all the same
};

/// The records of @p payload, none for a listing that failed, as what follows the listing before.
/// @p last becomes this listing, when it has not failed: @p listing, which says where it is from.
QCoro::Task<std::vector<RawPortInfo>> handOn(std::optional<QByteArray> payload,
                                             std::shared_ptr<ListedPrograms> listed,
                                             LastListing listing, std::shared_ptr<LastListing> last,
                                             SerialExecutor &decoder)
{
    co_await decoder.enter();
    RawPortInfo::Decoded decoded;
    const bool isAnswered = payload.has_value();
    if (payload) {
        decoded = decode(*payload);
        payload.reset();
    }
    std::vector<RawPortInfo> records;
    if (auto *const some = std::get_if<std::vector<RawPortInfo>>(&decoded)) {
        records = std::move(*some);
    }
    for (const RawPortInfo &record : records) {
        listing.leftOut.insert(record.pid);
    }
    listed->continueWith(records);
    if (isAnswered && std::holds_alternative<std::vector<RawPortInfo>>(decoded)) {
        listing.processes = identitiesOf(records);
        for (const auto &[pid, identity] : *listing.processes) {
            listing.leftOut.erase(pid);
        }
    }
    co_await MainThread::enter();
    if (listing.processes) {
        *last = std::move(listing);
    } else {
        last->isFollowedByFailure = true;
    }
    if (const auto *error = std::get_if<RawPortInfo::DecodingError>(&decoded)) {
        AppLog::log("[helper] decode error: " + error->description());
    }
    co_return records;
}

/// What the listing in @p payload holds of the process, nothing when it does not list it or does
/// not decode. Returns on the main thread.
QCoro::Task<std::optional<ProcessIdentity>> identityIn(QByteArray payload, std::int64_t pid,
                                                       SerialExecutor &decoder)
{
    co_await decoder.enter();
    std::optional<ProcessIdentity> identity;
    const RawPortInfo::Decoded decoded = decode(std::exchange(payload, {}));
    if (const auto *const records = std::get_if<std::vector<RawPortInfo>>(&decoded)) {
        const auto record = std::ranges::find(*records, pid, &RawPortInfo::pid);
        if (record != records->end()) {
            identity = {record->commandPath, record->processStartedAt};
        }
    }
    co_await MainThread::enter();
    if (const auto *error = std::get_if<RawPortInfo::DecodingError>(&decoded)) {
        AppLog::log("[helper] decode error: " + error->description());
    }
    co_return identity;
}

void logError(const HelperError &error)
{
    AppLog::log("[helper] listListeningPorts error: " + error.description +
                " domain=" + error.domain + " code=" + std::to_string(error.code));
}

std::int32_t processIdentifier(std::int64_t pid)
{
    using Limits = std::numeric_limits<std::int32_t>;
    if (pid < Limits::min() || pid > Limits::max()) {
        preconditionFailure("a process identifier fits 32 bits");
    }
    return static_cast<std::int32_t>(pid);
}

} // namespace

/// The connection, and what its handlers hold weakly: they may be called on any thread and after
/// the client has gone.
struct HelperClient::Link : std::enable_shared_from_this<HelperClient::Link>
{
    Link(Connect makeConnection, SerialExecutor &decodingExecutor)
        : connect(std::move(makeConnection))
        , decoder(decodingExecutor)
    {
    }

    HelperConnection &getConnection();
    [[nodiscard]] std::shared_ptr<HelperProxy> proxy();
    [[nodiscard]] HelperConnection::Handler reset(const std::shared_ptr<HelperConnection> &ended,
                                                  const char *line);

    Connect connect;
    SerialExecutor &decoder;
    std::shared_ptr<HelperConnection> connection;
    /// Of the decoder's thread. Every listing goes through it, one that failed as well, so that it
    /// gets them in the order in which they are handed on.
    std::shared_ptr<ListedPrograms> listed = std::make_shared<ListedPrograms>();
    std::shared_ptr<LastListing> last = std::make_shared<LastListing>();
};

HelperConnection &HelperClient::Link::getConnection()
{
    if (!connection) {
        const std::shared_ptr<HelperConnection> made = connect();
        made->setInvalidationHandler(reset(made, "[helper] XPC connection invalidated"));
        made->setInterruptionHandler(reset(made, "[helper] XPC connection interrupted"));
        connection = made;
        made->resume();
    }
    return *connection;
}

HelperConnection::Handler HelperClient::Link::reset(const std::shared_ptr<HelperConnection> &ended,
                                                    const char *line)
{
    return [self = weak_from_this(), ended = std::weak_ptr(ended), line] {
        AppLog::log(line);
        MainThread::post([self, ended] {
            const std::shared_ptr<Link> link = self.lock();
            // A connection that is told to be broken twice must not take the next one with it.
            if (link && link->connection == ended.lock()) {
                link->connection.reset();
            }
        });
    };
}

std::shared_ptr<HelperProxy> HelperClient::Link::proxy()
{
    return getConnection().remoteObjectProxy([](const std::string &description) {
        AppLog::log("[helper] proxy error: " + description);
    });
}

HelperClient::HelperClient(Connect connect, SerialExecutor &decoder)
    : m_link(std::make_shared<Link>(std::move(connect), decoder))
{
}

HelperClient::~HelperClient() = default;

QCoro::Task<std::vector<RawPortInfo>> HelperClient::xpcScan()
{
    return scan(m_link);
}

QCoro::Task<KillResult> HelperClient::xpcKill(std::int64_t pid)
{
    return kill(m_link, pid);
}

QCoro::Task<std::vector<RawPortInfo>> HelperClient::scan(std::shared_ptr<Link> link)
{
    co_await MainThread::enter();
    PendingReply<ListReply> pending;
    const std::shared_ptr<ListedPrograms> listed = link->listed;
    if (const std::shared_ptr<HelperProxy> proxy = link->proxy()) {
        proxy->listListeningPorts(pending.callback());
    } else {
        AppLog::log("[helper] xpcScan: proxy unavailable");
        link->decoder.post([listed] {
            std::vector<RawPortInfo> none;
            listed->continueWith(none);
        });
        co_return std::vector<RawPortInfo>();
    }
    LastListing listing{.connection = link->connection,
                        .isFollowedByFailure = false,
                        .processes = {},
                        .leftOut = {}};
    const std::shared_ptr<LastListing> last = link->last;
    // A call that is never answered must not keep the connection.
    SerialExecutor &decoder = std::exchange(link, nullptr)->decoder;

    ListReply reply = co_await pending;
    if (reply.error) {
        logError(*reply.error);
        reply.payload.reset();
    } else if (!reply.payload) {
        AppLog::log("[helper] listListeningPorts returned nil data");
    }
    co_return co_await handOn(std::move(reply.payload), listed, std::move(listing), last, decoder);
}

QCoro::Task<KillResult> HelperClient::kill(std::shared_ptr<Link> link, std::int64_t pid)
{
    co_await MainThread::enter();
    std::shared_ptr<HelperProxy> proxy = link->proxy();
    if (!proxy) {
        co_return KillResult::XpcUnavailable;
    }
    const std::int32_t identifier = processIdentifier(pid);
    const LastListing &last = *link->last;
    if (last.leftOut.contains(pid)) {
        co_return KillResult::NotFound;
    }
    const bool isOtherHelper = last.processes && last.connection.lock() != link->connection;
    const bool isKnown = last.processes && last.processes->contains(pid);
    if (isOtherHelper && !isKnown) {
        co_return KillResult::NotFound;
    }
    if (isKnown && (isOtherHelper || last.isFollowedByFailure)) {
        // The helper ends what it has listed itself, which need not be what was handed on.
        const ProcessIdentity expected = last.processes->at(pid);
        SerialExecutor &decoder = std::exchange(link, nullptr)->decoder;
        PendingReply<ListReply> listing;
        proxy->listListeningPorts(listing.callback());
        ListReply listed = co_await listing;
        if (listed.error) {
            logError(*listed.error);
            co_return KillResult::XpcUnavailable;
        }
        if (!listed.payload) {
            AppLog::log("[helper] listListeningPorts returned nil data");
            co_return KillResult::XpcUnavailable;
        }
        const std::optional<ProcessIdentity> found =
            co_await identityIn(std::move(*listed.payload), pid, decoder);
        if (!found || !found->isSame(expected)) {
            co_return KillResult::NotFound;
        }
    }
    link.reset();

    PendingReply<KillReply> pending;
    std::exchange(proxy, nullptr)->killProcess(identifier, pending.callback());
    const KillReply reply = co_await pending;
    if (reply.error) {
        AppLog::log("[helper] killProcess error: " + reply.error->description);
        co_return KillResult::XpcUnavailable;
    }
    co_return killResultFromReply(reply.code);
}

void HelperClient::revealLogInFinder(FileViewer &viewer)
{
    viewer.reveal(Paths::applicationSupport() / "app.log");
}

} // namespace Tarnwick
