// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/TarnwickApp.h"

#include "App/AppDelegate.h"
#include "App/AppState.h"
#include "App/DisplayOpening.h"
#include "App/ExitTimeout.h"
#include "App/FirstRunOnboarding.h"
#include "App/HelperClient.h"
#include "App/LaunchArguments.h"
#include "App/MoveToApplications.h"
#include "App/Preferences.h"
#include "App/SettingsWindowOpener.h"
#include "App/UpdateAnnouncement.h"
#include "App/UpdateWindow.h"
#include "App/UpdaterController.h"
#include "Core/NetworkMonitor.h"
#include "Core/NeverDestroyed.h"
#include "Platform/ApplicationBundle.h"
#include "Platform/FileViewer.h"
#include "Platform/Notifier.h"
#include "Platform/OrdinaryWindow.h"
#include "Platform/Popover.h"
#include "Platform/SingleInstance.h"
#include "Platform/linux/ArgumentLaunchContext.h"
#include "Platform/linux/MessageBoxQuestion.h"
#include "Platform/linux/SharedBusCheck.h"
#include "Shared/AppLog.h"
#include "Shared/Version.h"

#include <QApplication>
#include <QIcon>
#include <QQuickWindow>
#include <QSessionManager>

#include <csignal>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>

namespace Tarnwick {

namespace {

constexpr QSize panelSize{560, 500};

QUrl view(const char *name)
{
    return {QStringLiteral("qrc:/qt/qml/Tarnwick/UI/%1.qml").arg(QLatin1StringView(name))};
}

OrdinaryWindow::Description settingsWindow()
{
    return {.content = view("SettingsRootView"),
            .title = QStringLiteral("Tarnwick"),
            .identifier = QStringLiteral("Tarnwick.Settings"),
            .size = {620, 500}};
}

void print(std::FILE *stream, const std::string &text)
{
    std::fputs(text.c_str(), stream);
    std::fflush(stream);
}

/// Gives the application its icon: the desktop's, where it is installed. For the first ordinary
/// window and not at the start, which the reading of a drawing would delay.
void haveIcon()
{
    if (QGuiApplication::windowIcon().isNull()) {
        QGuiApplication::setWindowIcon(
            QIcon::fromTheme(QGuiApplication::desktopFileName(),
                             QIcon(QStringLiteral(":/com.velmora.tarnwick.svg"))));
    }
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
        SettingsWindowOpener::shared().setOpen([this] {
            haveIcon();
            m_settingsWindow->show();
        });
        m_instance->setActivationHandler([this] {
            if (m_delegate) {
                m_delegate->reopen();
            }
        });
        m_instance->setReplacementHandler([] {
            AppLog::log("[app] another Tarnwick has taken over — quitting");
            QApplication::quit();
        });
        const auto start = m_launchContext.isLoginItem() ? SingleInstance::Start::ByDesktop
                                                         : SingleInstance::Start::ByUser;
        m_instance->claim(start, [this](SingleInstance::Claim claim) { claimed(claim); });
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
        case SingleInstance::Claim::BusUnresponsive:
            AppLog::log("[app] the session bus does not answer — the helper cannot be reached");
            launch();
            break;
        case SingleInstance::Claim::OtherRuns:
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
                .preferences = Preferences::shared(),
                .appState = AppState::shared(),
                .networkMonitor = NetworkMonitor::shared(),
                .onboarding = FirstRunOnboarding::shared(),
                .settingsWindow = SettingsWindowOpener::shared(),
            },
            AppDelegate::Actions{
                .promptToMove = &Session::promptToMove,
                .makeUpdater =
                    [this] {
                        m_updateWindow.emplace(UpdaterController::shared(),
                                               [](const OrdinaryWindow::Description &window) {
                                                   haveIcon();
                                                   return OrdinaryWindow::make(window);
                                               });
                        m_announcement.emplace(UpdaterController::shared(), *m_notifier);
                    },
                .checkForUpdates = [] { UpdaterController::shared().checkForUpdates(); },
                .revealLog = [] { HelperClient::revealLogInFinder(*FileViewer::ofThisDesktop()); },
                .terminate = [] { QApplication::quit(); },
            });
        m_delegate->applicationDidFinishLaunching();
    }

    static MoveToApplications::Outcome promptToMove()
    {
        const std::unique_ptr<ApplicationBundle> bundle = ApplicationBundle::ofThisApplication();
        return MoveToApplications::promptIfNeeded(*bundle, Preferences::shared(), &askInMessageBox);
    }

    ArgumentLaunchContext m_launchContext;
    std::unique_ptr<SingleInstance> m_instance = SingleInstance::make();
    std::unique_ptr<Popover> m_popover = Popover::make(view("RootView"), panelSize);
    std::unique_ptr<OrdinaryWindow> m_settingsWindow = OrdinaryWindow::make(settingsWindow());
    std::unique_ptr<StatusItem> m_statusItem = StatusItem::make();
    std::unique_ptr<Notifier> m_notifier = Notifier::ofThisDesktop();
    std::optional<UpdateWindow> m_updateWindow;
    std::optional<UpdateAnnouncement> m_announcement;
    std::optional<AppDelegate> m_delegate;
};

/// Qt puts a frame off by 5 ms, for more changes to be in it. Here a turn of the event loop, in
/// which all changes of a scan or of a keystroke arrive, is enough.
void drawAtOnce()
{
    constexpr const char *delay = "QT_QPA_UPDATE_IDLE_TIME";
    if (!qEnvironmentVariableIsSet(delay)) {
        qputenv(delay, "0");
    }
}

int runOnDesktop(int argc, char *argv[], const LaunchArguments &arguments)
{
    // Made before whatever Qt keeps to the end of the program, and so destroyed after it.
    static ExitTimeout exitTimeout;
    QCoreApplication::setOrganizationName(QStringLiteral("velmora"));
    QCoreApplication::setApplicationName(QStringLiteral("tarnwick"));
    QCoreApplication::setApplicationVersion(
        QString::fromUtf8(version.data(), static_cast<qsizetype>(version.size())));
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    drawAtOnce();
    std::optional<SharedBusCheck> busCheck(std::in_place);
    std::optional<DisplayOpening> opening(std::in_place);
    const QApplication application(argc, argv);
    opening.reset();
    busCheck.reset();
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Tarnwick"));
    QGuiApplication::setDesktopFileName(QStringLiteral("com.velmora.tarnwick"));
    QGuiApplication::setQuitOnLastWindowClosed(false);

    // The autostart folder has it started, or not, as the user wishes.
    QObject::connect(
        &application, &QGuiApplication::saveStateRequest, &application,
        [](QSessionManager &manager) { manager.setRestartHint(QSessionManager::RestartNever); });
    Session session(arguments);
    session.start();
    const int status = QApplication::exec();
    AppLog::flush();
    exitTimeout.start(status);
    return status;
}

} // namespace

FirstRunOnboarding &FirstRunOnboarding::shared()
{
    static NeverDestroyed<FirstRunOnboarding> onboarding(Preferences::shared(),
                                                         &FloatingPanel::make);
    return *onboarding;
}

int TarnwickApp::run(int argc, char *argv[])
{
    constexpr int failed = 1;
    constexpr int misused = 2;
    // A reader that goes away is an error of the write, not our death. Programs that Qt starts have
    // the signal as usual again.
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
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
    if (!DisplayOpening::isWorthTrying()) {
        print(stderr, DisplayOpening::refusal() + "\n");
        return failed;
    }
    return runOnDesktop(argc, argv, arguments);
}

} // namespace Tarnwick
