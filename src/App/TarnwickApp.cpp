// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/TarnwickApp.h"

#include "App/AppDelegate.h"
#include "App/AppState.h"
#include "App/FirstRunOnboarding.h"
#include "App/LaunchArguments.h"
#include "App/Preferences.h"
#include "App/SettingsWindowOpener.h"
#include "Core/NetworkMonitor.h"
#include "Core/NeverDestroyed.h"
#include "Platform/Popover.h"
#include "Platform/SingleInstance.h"
#include "Platform/linux/ArgumentLaunchContext.h"
#include "Shared/AppLog.h"
#include "Shared/Version.h"

#include <QApplication>
#include <QQuickWindow>
#include <QSettings>

#include <cstddef>
#include <cstdio>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace Tarnwick {

namespace {

constexpr QSize panelSize{560, 500};

Preferences &preferences()
{
    static NeverDestroyed<QSettings> store;
    static NeverDestroyed<Preferences> preferences(*store);
    return *preferences;
}

void print(std::FILE *stream, const std::string &text)
{
    std::fputs(text.c_str(), stream);
    std::fflush(stream);
}

/// The running application.
class Session
{
public:
    explicit Session(const LaunchArguments &arguments)
        : m_launchContext(arguments.isLoginItem)
    {
    }

    void start()
    {
        m_instance->setActivationHandler([this] {
            if (m_delegate) {
                m_delegate->reopen();
            }
        });
        m_instance->claim([this](SingleInstance::Claim claim) { claimed(claim); });
    }

private:
    void claimed(SingleInstance::Claim claim)
    {
        switch (claim) {
        case SingleInstance::Claim::First:
            launch();
            break;
        case SingleInstance::Claim::NoSessionBus:
            AppLog::log("[app] no session bus — the helper cannot be reached");
            launch();
            break;
        case SingleInstance::Claim::OtherOpened:
            QApplication::exit(0);
            break;
        case SingleInstance::Claim::OtherSilent:
            print(stderr, "tarnwick: Tarnwick runs already, but does not answer\n");
            QApplication::exit(1);
            break;
        }
    }

    void launch()
    {
        m_delegate.emplace(
            AppDelegate::Services{
                .statusItem = *m_statusItem,
                .popover = *m_popover,
                .launchContext = m_launchContext,
                .preferences = preferences(),
                .appState = AppState::shared(),
                .networkMonitor = NetworkMonitor::shared(),
                .onboarding = FirstRunOnboarding::shared(),
                .settingsWindow = SettingsWindowOpener::shared(),
            },
            AppDelegate::Actions{.terminate = [] { QApplication::quit(); }});
        m_delegate->applicationDidFinishLaunching();
    }

    ArgumentLaunchContext m_launchContext;
    std::unique_ptr<SingleInstance> m_instance = SingleInstance::make();
    std::unique_ptr<Popover> m_popover =
        Popover::make(QUrl(QStringLiteral("qrc:/qt/qml/Tarnwick/UI/RootView.qml")), panelSize);
    std::unique_ptr<StatusItem> m_statusItem = StatusItem::make();
    std::optional<AppDelegate> m_delegate;
};

int runOnDesktop(int argc, char *argv[], const LaunchArguments &arguments)
{
    QCoreApplication::setOrganizationName(QStringLiteral("velmora"));
    QCoreApplication::setApplicationName(QStringLiteral("tarnwick"));
    QCoreApplication::setApplicationVersion(
        QString::fromUtf8(version.data(), static_cast<qsizetype>(version.size())));
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    const QApplication application(argc, argv);
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Tarnwick"));
    QGuiApplication::setDesktopFileName(QStringLiteral("com.velmora.tarnwick"));
    QGuiApplication::setQuitOnLastWindowClosed(false);

    Session session(arguments);
    session.start();
    const int status = QApplication::exec();
    AppLog::flush();
    return status;
}

bool hasDisplay()
{
    return qEnvironmentVariableIsSet("QT_QPA_PLATFORM") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           !qEnvironmentVariableIsEmpty("DISPLAY");
}

} // namespace

FirstRunOnboarding &FirstRunOnboarding::shared()
{
    static NeverDestroyed<FirstRunOnboarding> onboarding(preferences(), &FloatingPanel::make);
    return *onboarding;
}

int TarnwickApp::run(int argc, char *argv[])
{
    constexpr int failed = 1;
    constexpr int misused = 2;
    const std::span<char *const> words(argv, static_cast<std::size_t>(argc));
    const LaunchArguments arguments =
        LaunchArguments::parse(words.empty() ? words : words.subspan(1));
    switch (arguments.request) {
    case LaunchArguments::Request::Help:
        print(stdout, LaunchArguments::help());
        return 0;
    case LaunchArguments::Request::Version:
        print(stdout, "tarnwick " + std::string(version) + "\n");
        return 0;
    case LaunchArguments::Request::Refuse:
        print(stderr,
              "tarnwick: unknown argument '" + arguments.refused + "'\nTry 'tarnwick --help'.\n");
        return misused;
    case LaunchArguments::Request::Run:
        break;
    }
    if (!hasDisplay()) {
        print(stderr, "tarnwick: there is no display; in the terminal, use tarnwickctl\n");
        return failed;
    }
    return runOnDesktop(argc, argv, arguments);
}

} // namespace Tarnwick
