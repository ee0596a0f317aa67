// Start-up and shutdown of the program.
#include "QuilletApp.h"

#include "SingleInstance.h"
#include "core/AppModel.h"
#include "core/Preferences.h"
#include "platform/Platform.h"
#include "platform/x11/PlatformFactory.h"
#include "platform/x11/X11WindowState.h"
#include "ui/MainWindow.h"
#include "ui/MaskWindowPresenter.h"
#include "ui/StatusItemController.h"
#include "ui/UpdaterController.h"
#include "ui/WindowAccess.h"

#include <QApplication>
#include <QSocketNotifier>
#include <csignal>
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
    ShellHooks::setShared(this);
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
    ShellHooks::setShared(nullptr);
}

bool QuilletApp::becomeTheRunningInstance()
{
    m_instance = new SingleInstance(this);
    if (m_instance->forwardToRunningInstance())
        return false;
    m_instance->listen();
    connect(m_instance, &SingleInstance::reopenRequested, this, [] {
        if (WindowAccess::shared().opener)
            WindowAccess::shared().opener();
    });
    return true;
}

void QuilletApp::start()
{
    m_masks = std::make_unique<MaskWindowPresenter>();
    AppModel::shared().overlays().setPresenter(m_masks.get());
    m_mainWindow = std::make_unique<MainWindow>(AppModel::shared(), Preferences::shared());
    // The desktop hints go on every native window the main window gets.
    connect(m_mainWindow.get(), &MainWindow::windowShown, this,
            [this] { X11::setSkipTaskbar(m_mainWindow->windowHandle(), !m_showInTaskbar); });
    connect(m_mainWindow.get(), &MainWindow::settingsShown, this, [this] {
        X11::setSkipTaskbar(m_mainWindow->existingSettingsWindow()->windowHandle(),
                            !m_showInTaskbar);
    });
    WindowAccess::shared().opener = [this] {
        if (m_mainWindow)
            m_mainWindow->reopen();
    };
    m_mainWindow->show();

    Preferences::shared().apply();
    AppModel::shared().restoreIfEnabled();
    UpdaterController::shared();
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
    AppModel& model = AppModel::shared();
    model.display().restoreAll();
    model.desktopIcons().restore();
    model.wallpaper().restore();
    model.overlays().clearMenuBarWindows();
}
