// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/HelperClient.h"

#include "App/ListedPrograms.h"
#include "App/PendingReply.h"
#include "Core/MainThread.h"
#include "Core/SerialExecutor.h"
#include "Models/Precondition.h"
#include "Platform/FileViewer.h"
#include "Shared/AppLog.h"
#include "Shared/Paths.h"
#include "Shared/RawPortInfo.h"

#include <QByteArray>

#include <limits>
#include <optional>
#include <string>
#include <string_view>
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

/// The records of @p payload, none for a listing that failed, as what follows the listing before.
QCoro::Task<std::vector<RawPortInfo>> handOn(std::optional<QByteArray> payload,
                                             std::shared_ptr<ListedPrograms> listed,
                                             SerialExecutor &decoder)
{
    co_await decoder.enter();
    RawPortInfo::Decoded decoded;
    if (payload) {
        decoded = decode(*payload);
        payload.reset();
    }
    std::vector<RawPortInfo> records;
    if (auto *const some = std::get_if<std::vector<RawPortInfo>>(&decoded)) {
        records = std::move(*some);
    }
    listed->continueWith(records);
    co_await MainThread::enter();
    if (const auto *error = std::get_if<RawPortInfo::DecodingError>(&decoded)) {
        AppLog::log("[helper] decode error: " + error->description());
    }
    co_return records;
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
    // A call that is never answered must not keep the connection.
    SerialExecutor &decoder = std::exchange(link, nullptr)->decoder;

    ListReply reply = co_await pending;
    if (reply.error) {
        AppLog::log("[helper] listListeningPorts error: " + reply.error->description + " domain=" +
                    reply.error->domain + " code=" + std::to_string(reply.error->code));
    } else if (!reply.payload) {
        AppLog::log("[helper] listListeningPorts returned nil data");
    } else {
        co_return co_await handOn(std::move(*reply.payload), listed, decoder);
    }
    co_return co_await handOn({}, listed, decoder);
}

QCoro::Task<KillResult> HelperClient::kill(std::shared_ptr<Link> link, std::int64_t pid)
{
    co_await MainThread::enter();
    PendingReply<KillReply> pending;
    if (const std::shared_ptr<HelperProxy> proxy = link->proxy()) {
        proxy->killProcess(processIdentifier(pid), pending.callback());
    } else {
        co_return KillResult::XpcUnavailable;
    }
    link.reset();

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
