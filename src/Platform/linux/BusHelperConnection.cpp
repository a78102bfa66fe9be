// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/BusHelperConnection.h"

#include "Platform/linux/BusNames.h"
#include "Platform/linux/HelperCall.h"
#include "Shared/AppLog.h"
#include "Shared/Version.h"

#include <QCoreApplication>
#include <QPointer>

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

class BusHelperConnection::Proxy : public HelperProxy
{
public:
    Proxy(std::shared_ptr<HelperRequests> requests, ErrorHandler failed)
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
    std::shared_ptr<HelperRequests> m_requests;
    ErrorHandler m_failed;
};

std::unique_ptr<HelperConnection> HelperConnection::toHelper()
{
    const std::filesystem::path folder = QCoreApplication::applicationDirPath().toStdString();
    return std::make_unique<BusHelperConnection>(HelperProgram::besideApplication(folder));
}

BusHelperConnection::BusHelperConnection(HelperProgram program)
    : m_program(std::move(program))
    , m_requests(std::make_shared<HelperRequests>())
{
}

BusHelperConnection::~BusHelperConnection()
{
    if (m_link) {
        m_link->stopObserving(); // calls in flight keep it
    }
    // Who still waits for the helper is not left without a word.
    if (!m_requests->isRefused()) {
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
    if (m_requests->isRefused()) {
        return;
    }
    const std::shared_ptr<HelperRequests> requests = m_requests;
    // First the end, then what was lost with it: the order in which the bus tells of both.
    if (const Handler told = std::exchange(handler, nullptr)) {
        told();
    }
    requests->refuse(why);
}

} // namespace Tarnwick
