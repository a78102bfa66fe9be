// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "App/AboutTexts.h"
#include "App/AppState.h"
#include "App/LaunchAtLogin.h"
#include "App/Preferences.h"
#include "App/UpdaterController.h"
#include "Platform/fake/FakeLoginItem.h"
#include "UI/SettingsModel.h"

#include <QObject>
#include <QQmlEngine>
#include <QSettings>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

namespace Tarnwick {

class FakeUpdater;

/// Settings on services of their own for tests and pictures. What is asked of the monitor and the
/// updater is written down instead of done: "interval 5", "stop", "start", "check", "install".
class SampleSettings : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(Tarnwick::SettingsModel *model READ model CONSTANT FINAL)
    Q_PROPERTY(Tarnwick::LaunchAtLogin *launchAtLogin READ launchAtLogin CONSTANT FINAL)
    Q_PROPERTY(Tarnwick::UpdaterController *updater READ updater CONSTANT FINAL)
    Q_PROPERTY(Tarnwick::AboutTexts *about READ about CONSTANT FINAL)
    Q_PROPERTY(QStringList requests READ requests NOTIFY requestsChanged FINAL)
    Q_PROPERTY(bool stateShowsSystemPorts READ stateShowsSystemPorts NOTIFY requestsChanged FINAL)
    Q_PROPERTY(bool isRegistered READ isRegistered WRITE setRegistered NOTIFY requestsChanged FINAL)

public:
    explicit SampleSettings(QObject *parent = nullptr);
    ~SampleSettings() override;

    [[nodiscard]] SettingsModel *model() { return &m_model; }
    [[nodiscard]] LaunchAtLogin *launchAtLogin() { return &m_launchAtLogin; }
    [[nodiscard]] UpdaterController *updater() { return m_updater.get(); }
    [[nodiscard]] AboutTexts *about() { return &m_about; }

    [[nodiscard]] QStringList requests() const;
    Q_INVOKABLE void forgetRequests();
    [[nodiscard]] bool stateShowsSystemPorts() const { return m_state.showSystemPorts(); }

    /// Whether the system starts the application with the session.
    [[nodiscard]] bool isRegistered() const;
    void setRegistered(bool registered);
    /// Lets every change of that fail with these words; none when they are empty.
    Q_INVOKABLE void failWith(const QString &words);

    /// What the preferences hold under a name.
    Q_INVOKABLE QVariant stored(const QString &name) const { return m_store.value(name); }
    Q_INVOKABLE void store(const QString &name, const QVariant &value);

    /// Whether the preferences can be stored.
    Q_INVOKABLE void allowStoring(bool can) const;

    // What the updater reports; it arrives from the event loop.
    Q_INVOKABLE void findUpdater() const;
    Q_INVOKABLE void allowCheck(bool can) const;
    Q_INVOKABLE void endCheck(const QString &kind, const QString &version,
                              const QString &text) const;

Q_SIGNALS:
    void requestsChanged();

private:
    void request(const QString &what);

    QTemporaryDir m_folder;
    QSettings m_store;
    Preferences m_preferences{m_store};
    AppState m_state;
    double m_monitorInterval = 10.0;
    QStringList m_requests;
    FakeLoginItem m_loginItem;
    FakeUpdater *m_fakeUpdater = nullptr; ///< the controller's
    SettingsModel m_model;
    LaunchAtLogin m_launchAtLogin{m_loginItem};
    std::unique_ptr<UpdaterController> m_updater;
    AboutTexts m_about;
};

} // namespace Tarnwick
