// Start-up and shutdown of the program.
#include "QuilletApp.h"

#include "core/AppModel.h"
#include "core/Preferences.h"
#include "platform/Platform.h"
#include "platform/x11/PlatformFactory.h"
#include "ui/MainWindow.h"

#include <QApplication>
#include <QSocketNotifier>
#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {
int g_signalPipe[2] = {-1, -1};

void onTerminationSignal(int signal)
{
    // Only async-signal-safe work here: the event loop reads the pipe and quits.
    const char byte = static_cast<char>(signal);
    [[maybe_unused]] const ssize_t written = ::write(g_signalPipe[0], &byte, 1);
}
} // namespace

QuilletApp::QuilletApp(QObject* parent) : QObject(parent), m_platform(createPlatform())
{
    Platform::setShared(m_platform.get());
    ShellHooks::setShared(this);
    installSignalHandlers();
    connect(qApp, &QCoreApplication::aboutToQuit, this, &QuilletApp::restoreDesktop);
}

QuilletApp::~QuilletApp()
{
    ShellHooks::setShared(nullptr);
}

void QuilletApp::start()
{
    m_mainWindow = std::make_unique<MainWindow>(AppModel::shared());
    m_mainWindow->show();
    Preferences::shared().apply();
    AppModel::shared().restoreIfEnabled();
}

void QuilletApp::setTaskbarPresence(bool shown)
{
    if (m_mainWindow)
        m_mainWindow->setTaskbarPresence(shown);
}

void QuilletApp::bringToFront()
{
    if (!m_mainWindow)
        return;
    m_mainWindow->show();
    m_mainWindow->raise();
    m_mainWindow->activateWindow();
}

void QuilletApp::setStatusItemVisible(bool visible)
{
    Q_UNUSED(visible);
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
