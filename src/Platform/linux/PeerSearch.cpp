// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/PeerSearch.h"

#include "Platform/linux/BusNames.h"

#include <QProcess>
#include <QSocketNotifier>
#include <QVariant>

#include <utility>

#include <sys/syscall.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

const QString serviceUnknown = QStringLiteral("org.freedesktop.DBus.Error.ServiceUnknown");

} // namespace

PeerSearch::PeerSearch(std::shared_ptr<BusLink> link, HelperProgram program, Found found)
    : m_link(std::move(link))
    , m_program(std::move(program))
    , m_found(std::move(found))
{
}

PeerSearch::~PeerSearch() = default;

void PeerSearch::start()
{
    askForOwner(true);
}

void PeerSearch::askForOwner(bool mayStart)
{
    m_link->askBus(QStringLiteral("GetNameOwner"), {BusNames::helperService()}, this,
                   [this, mayStart](const QDBusMessage &reply) {
                       if (const QString owner = BusCall::text(reply); !owner.isEmpty()) {
                           verify(owner);
                       } else if (reply.errorName() != BusNames::nameHasNoOwner) {
                           fail(reply.errorMessage());
                       } else if (!mayStart) {
                           fail(QStringLiteral("the helper ended before it was on the bus"));
                       } else if (m_program.isInstalled) {
                           startThroughBus();
                       } else {
                           startProgram();
                       }
                   });
}

void PeerSearch::startThroughBus()
{
    m_link->askBus(QStringLiteral("StartServiceByName"), {BusNames::helperService(), 0U}, this,
                   [this](const QDBusMessage &reply) {
                       if (reply.type() == QDBusMessage::ReplyMessage) {
                           askForOwner(false);
                       } else if (reply.errorName() == serviceUnknown) {
                           // Installed where the bus does not look.
                           startProgram();
                       } else {
                           fail(reply.errorMessage());
                       }
                   });
}

void PeerSearch::startProgram(const QStringList &arguments)
{
    qint64 pid = 0;
    const QString path = QString::fromStdString(m_program.path.string());
    if (!QProcess::startDetached(path, arguments, QStringLiteral("/"), &pid)) {
        fail(QStringLiteral("cannot start %1").arg(path));
        return;
    }
    m_started =
        FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, static_cast<pid_t>(pid), 0)));
    if (!m_started) {
        programEnded();
        return;
    }
    m_startedEnds = std::make_unique<QSocketNotifier>(m_started.get(), QSocketNotifier::Read);
    connect(m_startedEnds.get(), &QSocketNotifier::activated, this, &PeerSearch::programEnded);
}

void PeerSearch::programEnded()
{
    if (m_startedEnds) {
        m_startedEnds->setEnabled(false);
    }
    // It may have ended because another one of its kind was faster.
    askForOwner(false);
}

void PeerSearch::ownerChanged(const QString &owner)
{
    if (m_startedEnds && !owner.isEmpty()) {
        m_startedEnds.reset();
        m_started.reset();
        verify(owner);
    }
}

void PeerSearch::verify(const QString &owner)
{
    m_link->observeOwner(owner);
    const auto identified = [this, owner](const QDBusMessage &reply) {
        if (reply.type() != QDBusMessage::ReplyMessage) {
            fail(reply.errorMessage());
            return;
        }
        const uint pid = reply.arguments().value(0).toUInt();
        const QString mismatch = QStringLiteral("%1 belongs to process %2, which does not run %3")
                                     .arg(BusNames::helperService())
                                     .arg(pid)
                                     .arg(QString::fromStdString(m_program.path.string()));
        switch (m_program.relationOf(static_cast<pid_t>(pid))) {
        case HelperProgram::Relation::Same:
            succeed(owner);
            break;
        case HelperProgram::Relation::Former:
        case HelperProgram::Relation::OtherCopy:
            replace(mismatch);
            break;
        case HelperProgram::Relation::Stranger:
            fail(mismatch);
            break;
        }
    };
    m_link->askBus(QStringLiteral("GetConnectionUnixProcessID"), {owner}, this, identified);
}

void PeerSearch::replace(const QString &why)
{
    if (std::exchange(m_hasReplaced, true)) {
        fail(why);
    } else {
        startProgram({QLatin1String(HelperProtocol::replaceOption.data())});
    }
}

void PeerSearch::fail(const QString &why)
{
    if (const Found found = std::exchange(m_found, nullptr)) {
        found(Failure{why.toStdString()});
    }
}

void PeerSearch::succeed(const QString &owner)
{
    if (const Found found = std::exchange(m_found, nullptr)) {
        found(owner);
    }
}

} // namespace Tarnwick
