// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/HelperConnection.h"
#include "Platform/linux/HelperProgram.h"
#include "Platform/linux/HelperRequests.h"
#include "Platform/linux/PeerSearch.h"

#include <QObject>
#include <QSet>
#include <QString>

#include <functional>
#include <memory>
#include <string>

namespace Tarnwick {

/// The helper connection over the session bus. It is interrupted when the helper leaves the bus
/// (when it has ended), and invalidated when the bus itself is gone or cannot be reached, the
/// helper cannot be started, or the process that has its name is not ours. Requests wait until the
/// helper was found, and go to it also when another copy's helper has taken its name over. A line
/// in the log says when the helper is of another version, and when a listing is overdue. Main
/// thread.
class BusHelperConnection : public QObject, public HelperConnection
{
public:
    explicit BusHelperConnection(HelperProgram program);
    ~BusHelperConnection() override;

    void setInvalidationHandler(Handler handler) override;
    void setInterruptionHandler(Handler handler) override;
    void resume() override;
    [[nodiscard]] std::shared_ptr<HelperProxy> remoteObjectProxy(ErrorHandler failed) override;

private:
    class Proxy;

    void opened(std::shared_ptr<BusLink> link, const QString &failure);
    void ownerChanged(const QString &from, const QString &to);
    void found(PeerSearch::Result result);
    void end(Handler &handler, const std::string &why);

    HelperProgram m_program;
    Handler m_invalidated;
    Handler m_interrupted;
    std::shared_ptr<BusLink> m_link;
    std::unique_ptr<PeerSearch> m_search;
    std::shared_ptr<HelperRequests> m_requests;
    QString m_owner;          ///< the helper's unique name, once it was found
    QSet<QString> m_departed; ///< who gave the helper's name up before that
};

} // namespace Tarnwick
