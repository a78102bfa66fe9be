// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/BusHelperConnection.h"

#include "Platform/linux/BusNames.h"
#include "Platform/linux/HelperCall.h"
#include "Shared/AppLog.h"
#include "Shared/Version.h"

#include <QCoreApplication>
#include <QPointer>
#include <QTimer>

#include <optional>
#include <utility>

namespace Tarnwick {

namespace {

constexpr const char *helperEnded = "the helper has ended";

/// Helpers of other copies and of former files are replaced before: this one is all there is.
void logOtherVersion(const std::string &helper)
{
    if (!helper.empty() && helper != version) {
        AppLog::log("[helper] version " + helper + " runs, the application is " +
                    std::string(version));
    }
}

} // namespace

/// Where requests go: they are kept until the helper was found, then sent, and refused after the
/// connection has ended. The helper kills only what it has reported, so kills wait until it has
/// answered a listing over this connection, and one is requested for that where none was. Shared by
/// the connection and its proxies.
struct BusHelperConnection::Requests : std::enable_shared_from_this<Requests>
{
    struct Peer
    {
        std::shared_ptr<BusLink> link;
        QString owner; ///< the helper's unique name
    };
    struct Kill
    {
        std::int32_t pid = 0;
        HelperProxy::KillReply reply;
        ErrorHandler failed;
    };
    /// Sends a request, or reports the refusal when there is no peer.
    using Request =
        std::function<void(const std::optional<Peer> &peer, const std::string &refusal)>;

    std::optional<Peer> peer;           ///< absent before the helper was found and after the end
    std::optional<std::string> refusal; ///< why nothing can be sent any more
    std::vector<Request> waiting;
    bool hasListed = false;  ///< the helper has answered a listing
    bool isOverdue = false;  ///< and the log says so
    std::vector<Kill> kills; ///< waiting for that

    void list(HelperProxy::ListReply listed, ErrorHandler lost)
    {
        const std::shared_ptr<QTimer> alarm = startAlarm();
        const auto reply = [self = shared_from_this(), alarm,
                            listed = std::move(listed)](std::optional<QByteArray> payload,
                                                        std::optional<HelperError> error) {
            alarm->stop();
            self->isOverdue = false;
            listed(std::move(payload), std::move(error));
        };
        const auto failed = [alarm, lost = std::move(lost)](const std::string &why) {
            alarm->stop();
            lost(why);
        };
        add([self = shared_from_this(), reply, failed](const std::optional<Peer> &to,
                                                       const std::string &why) {
            if (to) {
                self->sendList(*to, reply, failed);
            } else {
                failed(why);
            }
        });
    }

    void kill(Kill kill)
    {
        add([self = shared_from_this(), kill = std::move(kill)](const std::optional<Peer> &to,
                                                                const std::string &why) {
            if (to) {
                self->sendKill(*to, kill);
            } else {
                kill.failed(why);
            }
        });
    }

    void sendTo(Peer found)
    {
        peer = std::move(found);
        sendWaiting();
    }

    void refuse(std::string why)
    {
        peer.reset();
        refusal = std::move(why);
        sendWaiting();
    }

private:
    [[nodiscard]] std::shared_ptr<QTimer> startAlarm()
    {
        auto alarm = std::make_shared<QTimer>();
        alarm->setSingleShot(true);
        alarm->callOnTimeout([self = weak_from_this()] {
            const std::shared_ptr<Requests> requests = self.lock();
            if (requests && !std::exchange(requests->isOverdue, true)) {
                AppLog::log("[helper] a listing has not been answered for " +
                            std::to_string(overdueAfter.count()) + " s");
            }
        });
        alarm->start(overdueAfter);
        return alarm;
    }

    void add(Request request)
    {
        if (peer || refusal) {
            request(peer, refusal.value_or(std::string()));
        } else {
            waiting.push_back(std::move(request));
        }
    }

    void sendWaiting()
    {
        for (const Request &request : std::exchange(waiting, {})) {
            request(peer, refusal.value_or(std::string()));
        }
    }

    void sendList(const Peer &to, HelperProxy::ListReply reply, ErrorHandler failed)
    {
        const auto listed = [self = shared_from_this(),
                             reply = std::move(reply)](std::optional<QByteArray> payload,
                                                       std::optional<HelperError> error) {
            self->hasListed = self->hasListed || !error;
            reply(std::move(payload), std::move(error));
        };
        HelperCall::listListeningPorts(to.link, to.owner, listed, std::move(failed));
    }

    void sendKill(const Peer &to, const Kill &kill)
    {
        if (hasListed) {
            HelperCall::killProcess(to.link, to.owner, kill.pid, kill.reply, kill.failed);
            return;
        }
        kills.push_back(kill);
        if (kills.size() > 1) {
            return;
        }
        // What the listing holds is of no use here.
        const auto listed = [self = shared_from_this(),
                             to](const std::optional<QByteArray> &,
                                 const std::optional<HelperError> &error) {
            for (const Kill &each : std::exchange(self->kills, {})) {
                if (error) {
                    each.reply(0, error);
                } else {
                    self->sendKill(to, each);
                }
            }
        };
        const auto failed = [self = shared_from_this()](const std::string &why) {
            for (const Kill &each : std::exchange(self->kills, {})) {
                each.failed(why);
            }
        };
        sendList(to, listed, failed);
    }
};

class BusHelperConnection::Proxy : public HelperProxy
{
public:
    Proxy(std::shared_ptr<Requests> requests, ErrorHandler failed)
        : m_requests(std::move(requests))
        , m_failed(std::move(failed))
    {
    }

    void listListeningPorts(ListReply reply) override
    {
        m_requests->list(std::move(reply), m_failed);
    }

    void killProcess(std::int32_t pid, KillReply reply) override
    {
        m_requests->kill({.pid = pid, .reply = std::move(reply), .failed = m_failed});
    }

private:
    std::shared_ptr<Requests> m_requests;
    ErrorHandler m_failed;
};

std::unique_ptr<HelperConnection> HelperConnection::toHelper()
{
    const std::filesystem::path folder = QCoreApplication::applicationDirPath().toStdString();
    return std::make_unique<BusHelperConnection>(HelperProgram::besideApplication(folder));
}

BusHelperConnection::BusHelperConnection(HelperProgram program)
    : m_program(std::move(program))
    , m_requests(std::make_shared<Requests>())
{
}

BusHelperConnection::~BusHelperConnection()
{
    if (m_link) {
        m_link->stopObserving(); // calls in flight keep it
    }
    // Who still waits for the helper is not left without a word.
    if (!m_requests->refusal) {
        m_requests->refuse("the connection was given up");
    }
}

void BusHelperConnection::setInvalidationHandler(Handler handler)
{
    m_invalidated = std::move(handler);
}

void BusHelperConnection::setInterruptionHandler(Handler handler)
{
    m_interrupted = std::move(handler);
}

void BusHelperConnection::resume()
{
    BusLink::open([self = QPointer(this)](std::shared_ptr<BusLink> link, const QString &failure) {
        if (self) {
            self->opened(std::move(link), failure);
        }
    });
}

std::shared_ptr<HelperProxy> BusHelperConnection::remoteObjectProxy(ErrorHandler failed)
{
    return std::make_shared<Proxy>(m_requests, std::move(failed));
}

void BusHelperConnection::opened(std::shared_ptr<BusLink> link, const QString &failure)
{
    if (!link) {
        end(m_invalidated, failure.toStdString());
        return;
    }
    link->observe(
        BusNames::helperService(),
        {.ownerChanged = [this](const QString &from, const QString &to) { ownerChanged(from, to); },
         .ended = [this] { end(m_invalidated, "the session bus is gone"); }});
    m_link = std::move(link);
    m_search = std::make_unique<PeerSearch>(
        m_link, m_program, [this](PeerSearch::Result result) { found(std::move(result)); });
    m_search->start();
}

void BusHelperConnection::found(PeerSearch::Result result)
{
    // It is the search that calls.
    m_search.release()->deleteLater();
    if (const auto *failure = std::get_if<PeerSearch::Failure>(&result)) {
        end(m_invalidated, failure->description);
        return;
    }
    m_owner = std::get<QString>(result);
    if (m_departed.contains(m_owner)) {
        end(m_interrupted, helperEnded);
        return;
    }
    HelperCall::version(m_link, m_owner, &logOtherVersion);
    m_requests->sendTo({.link = m_link, .owner = m_owner});
}

void BusHelperConnection::ownerChanged(const QString &from, const QString &to)
{
    if (m_search) {
        // The search may find all the same who has left: its answers come a way of their own.
        m_departed.insert(from);
        m_search->ownerChanged(to);
    } else if (from == m_owner && to.isEmpty()) {
        end(m_interrupted, helperEnded);
    }
}

void BusHelperConnection::end(Handler &handler, const std::string &why)
{
    if (m_requests->refusal) {
        return;
    }
    const std::shared_ptr<Requests> requests = m_requests;
    // First the end, then what was lost with it: the order in which the bus tells of both.
    if (const Handler told = std::exchange(handler, nullptr)) {
        told();
    }
    requests->refuse(why);
}

} // namespace Tarnwick
