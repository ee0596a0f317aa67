// Start-up and shutdown of the program.
#include "QuilletApp.h"

#include "AppLogging.h"
#include "DBusService.h"
#include "RemoteControl.h"
#include "SingleInstance.h"
#include "core/AppModel.h"
#include "core/DefaultsStore.h"
#include "core/Preferences.h"
#include "platform/Platform.h"
#include "platform/x11/PlatformFactory.h"
#include "platform/x11/X11WindowState.h"
#include "ui/MainWindow.h"
#include "ui/MaskWindowPresenter.h"
#include "ui/Popover.h"
#include "ui/StatusItemController.h"
#include "ui/UpdaterController.h"
#include "ui/components/Look.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QSocketNotifier>
#include <QTimer>
#include <csignal>
#include <cstdlib>
#include <sys/socket.h>
#include <unistd.h>

namespace {
int g_signalPipe[2] = {-1, -1};

void onTerminationSignal(int signal)
{
    // Only async-signal-safe work here: the event loop reads the socket and quits.
    const char byte = static_cast<char>(signal);
    [[maybe_unused]] const ssize_t written = ::write(g_signalPipe[0], &byte, 1);
}
} // namespace

QuilletApp::QuilletApp(QObject* parent) : QObject(parent), m_platform(createPlatform())
{
    Platform::setShared(m_platform.get());
    m_preferences =
        std::make_unique<Preferences>(DefaultsStore::standard(), m_platform->loginItems(), this);
    Preferences::setShared(m_preferences.get());
    installSignalHandlers();
    // The end of the desktop session quits the event loop too (the session manager's "die"
    // arrives as a quit). A save request alone is no end: the session may go on, for example
    // after a manual save or a cancelled logout, so it restores nothing.
    connect(qApp, &QCoreApplication::aboutToQuit, this, &QuilletApp::restoreDesktop);
}

QuilletApp::~QuilletApp()
{
    if (m_masks)
        AppModel::shared().overlays().setPresenter(nullptr);
    Preferences::setShared(nullptr);
}

bool QuilletApp::becomeTheRunningInstance(int& exitStatus)
{
    m_instance = new SingleInstance(this);
    // Another launch may be starting, or ending and putting the desktop back (which may restart
    // the desktop program): whichever holds the lock runs.
    const QDeadlineTimer deadline(30000);
    while (!m_instance->tryLock()) {
        bool reached = false;
        const SingleInstance::Answer answer =
            SingleInstance::send(QStringLiteral("reopen"), 1000, &reached);
        if (reached) {
            exitStatus = answer.done ? 0 : 1;
            return false;
        }
        if (deadline.hasExpired()) {
            qCCritical(lcApp, "Quillet: another Quillet runs but does not answer; %s",
                       qUtf8Printable(answer.lines.join(QStringLiteral("; "))));
            exitStatus = 1;
            return false;
        }
    }
    m_instance->listen();
    return true;
}

void QuilletApp::start(bool showWindow)
{
    m_masks = std::make_unique<MaskWindowPresenter>();
    m_masks->setPlacement([](const QRectF& bottomLeft) {
        return Platform::shared().screens().windowGeometry(bottomLeft);
    });
    AppModel::shared().overlays().setPresenter(m_masks.get());
    // The window opens with our own symbols and takes the icon theme's after its first paint.
    Look::holdThemeSymbols();
    m_mainWindow = std::make_unique<MainWindow>(AppModel::shared(), Preferences::shared());
    // The desktop hints go on every native window the main window gets.
    connect(m_mainWindow.get(), &MainWindow::windowShown, this,
            [this] { X11::setSkipTaskbar(m_mainWindow->windowHandle(), !m_showInTaskbar); });
    connect(m_mainWindow.get(), &MainWindow::settingsShown, this, [this] {
        X11::setSkipTaskbar(m_mainWindow->existingSettingsWindow()->windowHandle(),
                            !m_showInTaskbar);
    });
    // Without a tray icon nothing would be left to reach the program (and its master switch)
    // once the window is gone, so closing it quits and puts the desktop back, as Linux
    // programs without a tray icon do. With the tray icon shown the program keeps running there.
    connect(m_mainWindow.get(), &MainWindow::closed, this, [] {
        if (!StatusItemController::shared().isShown())
            QCoreApplication::quit();
    });
    Popover::setKeepOffTaskbar([](QWindow* window) { X11::setSkipTaskbar(window, true); });
    connect(&StatusItemController::shared(), &StatusItemController::showWindowRequested, this,
            &QuilletApp::reopenMainWindow);
    // The desktop was looked at while the window was built: its explanations are in place
    // before the window shows, and the choices restored below reach the right backend.
    Platform::shared().desktopSupport().awaitFirstLook();
    // Listing the other windows reads every window's properties and the installed programs'
    // names: the window opens first and shows them just after its first paint.
    if (showWindow) {
        connect(m_mainWindow.get(), &MainWindow::firstPainted, this,
                [] { AppModel::shared().refreshWindows(); });
        // For profiling the start-up alone: the run ends at once after the first paint.
        if (qEnvironmentVariableIsSet("QUILLET_EXIT_AFTER_FIRST_PAINT"))
            connect(m_mainWindow.get(), &MainWindow::firstPainted, this, [] { std::_Exit(0); });
        m_mainWindow->show();
    } else {
        AppModel::shared().refreshWindows();
    }

    Preferences::shared().apply();
    AppModel& model = AppModel::shared();
    model.restoreIfEnabled();
    // A run that ended without its quit sequence may have left the icons hidden: unless the
    // choices just restored hide them again, the user's own style comes back now.
    if (!(model.enabled() && model.desktopIconsHidden()))
        model.desktopIcons().restore();
    UpdaterController::shared();
    startRemoteControl();
}

void QuilletApp::startRemoteControl()
{
    // Outside requests take the same ways as the window's and the tray menu's.
    m_remote = new RemoteControl(
        AppModel::shared(), Preferences::shared(), [this] { reopenMainWindow(); },
        [] { QCoreApplication::quit(); }, this);
    m_instance->setHandler([this](const QString& request) {
        SingleInstance::Answer answer;
        answer.done = m_remote->handleRequest(request, answer.lines);
        return answer;
    });
    m_dbus = new DBusService(*m_remote, this);
    m_dbus->registerOnSessionBus();
}

void QuilletApp::reopenMainWindow()
{
    if (m_mainWindow)
        m_mainWindow->reopen();
}

void QuilletApp::setTaskbarPresence(bool shown)
{
    m_showInTaskbar = shown;
    if (m_mainWindow && m_mainWindow->windowHandle())
        X11::setSkipTaskbar(m_mainWindow->windowHandle(), !shown);
    // The settings window is one of ours too: it leaves and rejoins the taskbar with the main one.
    if (QWidget* settings = m_mainWindow ? m_mainWindow->existingSettingsWindow() : nullptr;
        settings && settings->windowHandle())
        X11::setSkipTaskbar(settings->windowHandle(), !shown);
}

void QuilletApp::bringToFront()
{
    // The program comes forward as it was: when one of its windows is already active (the user
    // is switching "Show in Dock" in the settings window) nothing moves, and otherwise the
    // settings window, if open, stays above the main window.
    if (QApplication::activeWindow() || !m_mainWindow)
        return;
    QWidget* settings = m_mainWindow->existingSettingsWindow();
    QWidget* front = settings && settings->isVisible() ? settings : m_mainWindow.get();
    if (front->isVisible()) {
        front->raise();
        front->activateWindow();
    }
}

void QuilletApp::setStatusItemVisible(bool visible)
{
    StatusItemController::shared().setVisible(visible);
}

void QuilletApp::installSignalHandlers()
{
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, g_signalPipe) != 0)
        return;
    m_signalNotifier = new QSocketNotifier(g_signalPipe[1], QSocketNotifier::Read, this);
    connect(m_signalNotifier, &QSocketNotifier::activated, this, [] {
        char byte = 0;
        [[maybe_unused]] const ssize_t got = ::read(g_signalPipe[1], &byte, 1);
        QCoreApplication::exit(0);
    });
    struct sigaction action {};
    action.sa_handler = onTerminationSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int signal : {SIGTERM, SIGINT, SIGHUP})
        sigaction(signal, &action, nullptr);
}

void QuilletApp::restoreDesktop()
{
    if (m_restored)
        return;
    m_restored = true;
    // The event loop keeps running (answers arrive through it) but takes no user input. The
    // stages share one limit: a desktop program restarting as we quit may take a few seconds to
    // take its pictures back, and a desktop that does not answer holds the quit no longer.
    const QDeadlineTimer deadline(std::chrono::seconds(10));
    AppModel::shared().restoreDesktop(
        [&deadline](const std::function<bool()>& done) { waitUntil(done, deadline); });
}

void QuilletApp::waitUntil(const std::function<bool()>& done, const QDeadlineTimer& deadline)
{
    constexpr int kCheckMs = 10;
    if (done() || deadline.hasExpired())
        return;
    QEventLoop loop;
    QTimer check;
    connect(&check, &QTimer::timeout, &loop, [&] {
        if (done())
            loop.quit();
    });
    check.start(kCheckMs);
    QTimer::singleShot(int(deadline.remainingTime()), &loop, &QEventLoop::quit);
    loop.exec(QEventLoop::ExcludeUserInputEvents);
}
