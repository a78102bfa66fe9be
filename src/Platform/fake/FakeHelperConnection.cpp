// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/fake/FakeHelperConnection.h"

#include <utility>

namespace Tarnwick {

namespace {

class FakeProxy : public HelperProxy
{
public:
    FakeProxy(std::shared_ptr<FakeHelperConnection::Record> record,
              HelperConnection::ErrorHandler failed)
        : m_record(std::move(record))
        , m_failed(std::move(failed))
    {
    }

    void listListeningPorts(ListReply reply) override
    {
        m_record->listings.push_back({std::move(reply), m_failed});
    }

    void killProcess(std::int32_t pid, KillReply reply) override
    {
        m_record->kills.push_back({pid, std::move(reply), m_failed});
    }

private:
    std::shared_ptr<FakeHelperConnection::Record> m_record;
    HelperConnection::ErrorHandler m_failed;
};

} // namespace

FakeHelperConnection::FakeHelperConnection(std::shared_ptr<Record> record)
    : m_record(std::move(record))
{
}

FakeHelperConnection::~FakeHelperConnection()
{
    m_record->isFreed = true;
}

void FakeHelperConnection::setInvalidationHandler(Handler handler)
{
    m_record->calls.emplace_back("setInvalidationHandler");
    m_record->invalidated = std::move(handler);
}

void FakeHelperConnection::setInterruptionHandler(Handler handler)
{
    m_record->calls.emplace_back("setInterruptionHandler");
    m_record->interrupted = std::move(handler);
}

void FakeHelperConnection::resume()
{
    m_record->calls.emplace_back("resume");
}

std::shared_ptr<HelperProxy> FakeHelperConnection::remoteObjectProxy(ErrorHandler failed)
{
    m_record->calls.emplace_back("remoteObjectProxy");
    if (!m_record->offersProxy) {
        return nullptr;
    }
    return std::make_shared<FakeProxy>(m_record, std::move(failed));
}

} // namespace Tarnwick
