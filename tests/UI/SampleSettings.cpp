// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/UI/SampleSettings.h"

#include "Platform/fake/FakeUpdater.h"

#include <QDir>
#include <QFile>
#include <QHash>

#include <string>
#include <utility>

namespace Tarnwick {

namespace {

using Kind = UpdateResult::Kind;

Kind kindOf(const QString &name)
{
    static const QHash<QString, Kind> kinds{{QStringLiteral("upToDate"), Kind::UpToDate},
                                            {QStringLiteral("available"), Kind::Available},
                                            {QStringLiteral("held"), Kind::Held},
                                            {QStringLiteral("installed"), Kind::Installed},
                                            {QStringLiteral("unavailable"), Kind::Unavailable},
                                            {QStringLiteral("failed"), Kind::Failed}};
    return kinds.value(name);
}

} // namespace

SampleSettings::SampleSettings(QObject *parent)
    : QObject(parent)
    , m_store(m_folder.filePath(QStringLiteral("tarnwick.conf")), QSettings::IniFormat)
    , m_model(m_preferences, m_state,
              {
                  .pollInterval = [this] { return m_monitorInterval; },
                  .setPollInterval =
                      [this](double seconds) {
                          m_monitorInterval = seconds;
                          request(QStringLiteral("interval %1").arg(seconds));
                      },
                  .stop = [this] { request(QStringLiteral("stop")); },
                  .start = [this] { request(QStringLiteral("start")); },
              })
    , m_about({{QStringLiteral("CFBundleShortVersionString"), QStringLiteral("1.2.0")}})
{
    auto updater = std::make_unique<FakeUpdater>();
    m_fakeUpdater = updater.get();
    m_updater = std::make_unique<UpdaterController>(std::move(updater));
    m_fakeUpdater->calls.clear();
}

SampleSettings::~SampleSettings() = default;

void SampleSettings::request(const QString &what)
{
    m_requests += what;
    Q_EMIT requestsChanged();
}

QStringList SampleSettings::requests() const
{
    QStringList all = m_requests;
    for (const std::string &call : m_fakeUpdater->calls) {
        all += QString::fromStdString(call);
    }
    return all;
}

void SampleSettings::forgetRequests()
{
    m_requests.clear();
    m_fakeUpdater->calls.clear();
    Q_EMIT requestsChanged();
}

bool SampleSettings::isRegistered() const
{
    return m_loginItem.state == LoginItem::Status::Enabled;
}

void SampleSettings::setRegistered(bool registered)
{
    m_loginItem.state = registered ? LoginItem::Status::Enabled : LoginItem::Status::NotRegistered;
}

void SampleSettings::failWith(const QString &words)
{
    m_loginItem.failure = words.isEmpty() ? LoginItem::Failure() : words.toStdString();
}

void SampleSettings::store(const QString &name, const QVariant &value)
{
    m_store.setValue(name, value);
    Q_EMIT m_model.pollIntervalChanged();
    Q_EMIT m_model.showSystemPortsByDefaultChanged();
}

void SampleSettings::allowStoring(bool can) const
{
    // A folder in the place of the file: not even root can write it.
    const QDir folder(m_folder.path());
    const QString name = QStringLiteral("tarnwick.conf");
    if (can) {
        folder.rmdir(name);
    } else {
        QFile::remove(folder.filePath(name));
        folder.mkdir(name);
    }
}

void SampleSettings::findUpdater() const
{
    m_fakeUpdater->handlers.found();
}

void SampleSettings::allowCheck(bool can) const
{
    m_fakeUpdater->handlers.canCheckForUpdates(can);
}

void SampleSettings::endCheck(const QString &kind, const QString &version,
                              const QString &text) const
{
    m_fakeUpdater->handlers.ended(
        {.kind = kindOf(kind), .version = version.toStdString(), .text = text.toStdString()});
}

} // namespace Tarnwick
