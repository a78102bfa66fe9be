// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/PeerSearch.h"

#include "Platform/linux/BusNames.h"

#include <QProcess>
#include <QVariant>

#include <utility>

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
    m_started = ProcessWatch::open(static_cast<pid_t>(pid));
    // It may have ended because another one of its kind was faster.
    if (m_started) {
        m_started->start([this] { askForOwner(false); });
    } else {
        askForOwner(false);
    }
}

void PeerSearch::ownerChanged(const QString &owner)
{
    if (m_started && !owner.isEmpty()) {
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
        const auto process = static_cast<pid_t>(pid);
        switch (m_program.relationOf(process)) {
        case HelperProgram::Relation::Same:
            succeed(owner);
            break;
        case HelperProgram::Relation::Former:
        case HelperProgram::Relation::OtherCopy:
            replace(mismatch(process));
            break;
        case HelperProgram::Relation::Stranger:
            fail(mismatch(process));
            break;
        }
    };
    m_link->askBus(QStringLiteral("GetConnectionUnixProcessID"), {owner}, this, identified);
}

QString PeerSearch::mismatch(pid_t owner) const
{
    QString running = QString::fromStdString(HelperProgram::executableOf(owner));
    for (QChar &character : running) {
        if (!character.isPrint()) {
            character = u'?'; // what another process is called does not begin a line of the log
        }
    }
    return QStringLiteral("%1 belongs to process %2 (%3), which does not run %4")
        .arg(BusNames::helperService(), QString::number(owner),
             running.isEmpty() ? QStringLiteral("of an unknown executable") : running,
             QString::fromStdString(m_program.path.string()));
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
