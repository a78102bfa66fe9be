// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/BusHelperConnection.h"

#include "Platform/linux/BusNames.h"
#include "Platform/linux/HelperCall.h"

#include <QCoreApplication>
#include <QPointer>

#include <optional>
#include <utility>

namespace Tarnwick {

namespace {

constexpr const char *helperEnded = "the helper has ended";

} // namespace

/// Where requests go: they are kept until the helper was found, then sent, and refused after the
/// connection has ended. Shared by the connection and its proxies.
struct BusHelperConnection::Requests
{
    /// Sends one, or tells that it cannot be sent when there is no link.
    using Request = std::function<void(const std::shared_ptr<BusLink> &link, const QString &owner,
                                       const std::string &refusal)>;

    std::shared_ptr<BusLink> link; ///< absent before the helper was found and after the end
    QString owner;
    std::optional<std::string> refusal; ///< why nothing can be sent any more
    std::vector<Request> waiting;

    void add(Request request)
    {
        if (link || refusal) {
            request(link, owner, refusal.value_or(std::string()));
        } else {
            waiting.push_back(std::move(request));
        }
    }

    void sendTo(std::shared_ptr<BusLink> openLink, QString helper)
    {
        link = std::move(openLink);
        owner = std::move(helper);
        handOver();
    }

    void refuse(std::string why)
    {
        link.reset();
        refusal = std::move(why);
        handOver();
    }

private:
    void handOver()
    {
        for (const Request &request : std::exchange(waiting, {})) {
            request(link, owner, refusal.value_or(std::string()));
        }
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
        m_requests->add([reply = std::move(reply),
                         failed = m_failed](const std::shared_ptr<BusLink> &link,
                                            const QString &owner, const std::string &refusal) {
            if (link) {
                HelperCall::listListeningPorts(link, owner, reply, failed);
            } else {
                failed(refusal);
            }
        });
    }

    void killProcess(std::int32_t pid, KillReply reply) override
    {
        m_requests->add([pid, reply = std::move(reply),
                         failed = m_failed](const std::shared_ptr<BusLink> &link,
                                            const QString &owner, const std::string &refusal) {
            if (link) {
                HelperCall::killProcess(link, owner, pid, reply, failed);
            } else {
                failed(refusal);
            }
        });
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
    m_requests->sendTo(m_link, m_owner);
}

void BusHelperConnection::ownerChanged(const QString &from, const QString &to)
{
    if (m_search) {
        // The search may find all the same who has left: its answers come a way of their own.
        m_departed.insert(from);
        m_search->ownerChanged(to);
    } else if (from == m_owner) {
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
