// xfconf's /desktop-icons/style in the xfce4-desktop channel: 0 hides the icons, 2 shows the
// file icons (xfdesktop's default when the property does not exist). The style is read and
// written through the xfconf daemon's D-Bus service, asynchronously and with a time limit, so
// that a missing "does not exist" can be told from a daemon that does not answer.
#include "XfceDesktopIcons.h"

#include "X11Connection.h"
#include "X11Replies.h"
#include "XfconfClient.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QFile>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace {

const QString kXfdesktopBusName = QStringLiteral("org.xfce.xfdesktop");
const QString kChannel = QStringLiteral("xfce4-desktop");
const QString kStyleProperty = QStringLiteral("/desktop-icons/style");
// A loaded machine may take several seconds to start xfdesktop and draw its desktop.
constexpr int kReadyTimeoutMs = 10000;
constexpr int kReadyPollMs = 50;

// What the desktop looks like now: the process that owns xfdesktop's desktop window (0 when
// none) and the root pixmap xfdesktop draws into (0 when none; it is removed when xfdesktop
// quits and set again once a new one has drawn the desktop).
struct DesktopState {
    qint64 pid = 0;
    quint32 rootPixmap = 0;
    // The root pixmap exists on the server (a program that quit took its pixmaps with it).
    bool rootPixmapLive = false;
};

// False once PID has exited (also while it waits to be reaped): its X resources are gone then.
bool processAlive(qint64 pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (pid <= 0 || !stat.open(QIODevice::ReadOnly))
        return false;
    const QByteArray line = stat.readAll();
    const qsizetype end = line.lastIndexOf(')');
    return end >= 0 && end + 2 < line.size() && line.at(end + 2) != 'Z';
}

DesktopState desktopState()
{
    DesktopState state;
    xcb_connection_t* c = X11::scanConnection();
    if (!c)
        return state;
    const QDeadlineTimer deadline(500);
    const xcb_window_t root = X11::rootWindow();
    auto windowCookie = X11::requestProperty(c, root, X11::atom("XFCE_DESKTOP_WINDOW"));
    auto pixmapCookie = X11::requestProperty(c, root, X11::atom("_XROOTPMAP_ID"));
    const auto window = X11::reply<xcb_get_property_reply_t>(c, windowCookie, deadline);
    const auto pixmap = X11::reply<xcb_get_property_reply_t>(c, pixmapCookie, deadline);
    if (const QList<quint32> ids = X11::cardinals(pixmap.get()); !ids.isEmpty())
        state.rootPixmap = ids.constFirst();
    if (state.rootPixmap) {
        const auto geometry = X11::reply<xcb_get_geometry_reply_t>(
            c, xcb_get_geometry(c, state.rootPixmap), deadline);
        state.rootPixmapLive = geometry != nullptr;
    }
    const QList<quint32> windows = X11::cardinals(window.get());
    if (windows.isEmpty())
        return state;
    // A window that is gone (xfdesktop was killed) has no properties: no desktop then.
    const auto pid = X11::reply<xcb_get_property_reply_t>(
        c, X11::requestProperty(c, windows.constFirst(), X11::atom("_NET_WM_PID")), deadline);
    if (const QList<quint32> pids = X11::cardinals(pid.get()); !pids.isEmpty())
        state.pid = pids.constFirst();
    return state;
}

// --- the detached restart, run in a forked process ---------------------------------------------
// Between fork and exec only async-signal-safe calls are allowed: no allocation, no locks.

void sleepMilliseconds(long ms)
{
    const timespec pause{0, ms * 1000000L};
    nanosleep(&pause, nullptr);
}

// True once the process is gone or a zombie (its parent may never reap it).
bool processEnded(const char* statPath)
{
    const int fd = open(statPath, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return true;
    char buffer[512];
    const ssize_t length = read(fd, buffer, sizeof buffer);
    close(fd);
    if (length <= 0)
        return true;
    // The state follows the command name, which may itself contain ") ".
    ssize_t close = length - 1;
    while (close >= 0 && buffer[close] != ')')
        --close;
    if (close < 0 || close + 2 >= length)
        return true;
    const char state = buffer[close + 2];
    return state == 'Z' || state == 'X';
}

bool waitForEnd(const char* statPath, int timeoutMs)
{
    for (int waited = 0; waited < timeoutMs; waited += 20) {
        if (processEnded(statPath))
            return true;
        sleepMilliseconds(20);
    }
    return processEnded(statPath);
}

// The restart proper: ask the old xfdesktop to quit, wait for it to end (a new one started
// while the old one still holds its bus name would only hand its command line over and exit),
// then become the new xfdesktop. The old one is asked by its pid with SIGTERM, on which it
// quits as on "--quit": "--quit" goes to whichever xfdesktop owns the bus name, and one the
// session started meanwhile (after a crash of the old one) would quit in its stead, maybe in
// the middle of loading a picture, which xfdesktop does not survive. Everything is bounded.
[[noreturn]] void restartInThisProcess(char* const startArgv[], const char* oldStatPath,
                                       pid_t oldPid)
{
    kill(oldPid, SIGTERM);
    if (!waitForEnd(oldStatPath, 5000)) {
        kill(oldPid, SIGKILL);
        waitForEnd(oldStatPath, 1000);
    }
    execv(startArgv[0], startArgv);
    _exit(127);
}

// Forks a process of its own session, not our child, that restarts xfdesktop: a kill of
// Quillet at any moment afterwards still leaves the user a desktop program.
bool launchDetachedRestart(qint64 oldPid)
{
    // Everything the forked process needs is prepared here, before the fork.
    char program[] = "/usr/bin/xfdesktop";
    char* const startArgv[] = {program, nullptr};
    char statPath[64];
    std::snprintf(statPath, sizeof statPath, "/proc/%lld/stat", static_cast<long long>(oldPid));

    const pid_t child = fork();
    if (child < 0)
        return false;
    if (child == 0) {
        setsid();
        if (fork() != 0)
            _exit(0);
        // The grandchild, adopted by init: none of our descriptors (the X and bus connections
        // above all, whose end must follow ours) and none of our signal handling.
        close_range(3, ~0U, 0);
        struct sigaction standard {};
        standard.sa_handler = SIG_DFL;
        for (int signal = 1; signal < NSIG; ++signal)
            sigaction(signal, &standard, nullptr);
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
        restartInThisProcess(startArgv, statPath, static_cast<pid_t>(oldPid));
    }
    // The intermediate process exits at once.
    waitpid(child, nullptr, 0);
    return true;
}

} // namespace

XfceDesktopIcons::XfceDesktopIcons()
{
    m_readyPoll.setInterval(kReadyPollMs);
    connect(&m_readyPoll, &QTimer::timeout, this, &XfceDesktopIcons::checkReady);
}

bool XfceDesktopIcons::isRunning()
{
    QDBusConnectionInterface* bus = QDBusConnection::sessionBus().interface();
    return bus && bus->isServiceRegistered(kXfdesktopBusName).value();
}

bool XfceDesktopIcons::settingsReachable()
{
    return Xfconf::running();
}

void XfceDesktopIcons::readStyle(std::function<void(ReadResult)> done)
{
    Xfconf::callAsync(this, QStringLiteral("GetProperty"), {kChannel, kStyleProperty},
                      [done = std::move(done)](const QDBusMessage& reply) {
                          if (!Xfconf::succeeded(reply)) {
                              // Not set: xfdesktop shows its default.
                              done(Xfconf::notFound(reply) ? ReadResult(Style()) : ReadResult());
                              return;
                          }
                          if (reply.arguments().isEmpty()) {
                              done(ReadResult());
                              return;
                          }
                          const QVariant value = Xfconf::unwrap(reply.arguments().constFirst());
                          bool isNumber = false;
                          const int style = value.toInt(&isNumber);
                          done(isNumber ? ReadResult(Style(style)) : ReadResult());
                      });
}

void XfceDesktopIcons::writeStyle(Style style, std::function<void(bool)> done)
{
    auto answered = [done = std::move(done)](const QDBusMessage& reply) {
        done(Xfconf::succeeded(reply));
    };
    if (!style) {
        Xfconf::callAsync(this, QStringLiteral("ResetProperty"), {kChannel, kStyleProperty, false},
                          std::move(answered));
        return;
    }
    // An int property, as xfdesktop itself writes it.
    Xfconf::callAsync(
        this, QStringLiteral("SetProperty"),
        {kChannel, kStyleProperty, QVariant::fromValue(QDBusVariant(QVariant(*style)))},
        std::move(answered));
}

void XfceDesktopIcons::restartDesktop(std::function<void()> ready)
{
    // xfdesktop applies the style live but may then crash on the next screen-size change; one
    // started with the new style does not.
    if (m_ready)
        std::exchange(m_ready, {})();
    const DesktopState before = desktopState();
    if (before.pid <= 0 || !launchDetachedRestart(before.pid)) {
        ready();
        return;
    }
    m_oldDesktopPid = before.pid;
    m_oldRootPixmap = before.rootPixmap;
    m_ready = std::move(ready);
    m_readyDeadline.setRemainingTime(kReadyTimeoutMs);
    m_readyPoll.start();
}

void XfceDesktopIcons::checkReady()
{
    // Ready once a new xfdesktop owns the desktop window and has drawn its root pixmap.
    const DesktopState now = desktopState();
    // The new program may get the very pixmap id the old one had (the server hands the old
    // connection's ids out again): the same id counts once the old program is gone and the
    // pixmap exists, since the old one's pixmaps went with it.
    const bool newPixmap =
        now.rootPixmap != m_oldRootPixmap || (now.rootPixmapLive && !processAlive(m_oldDesktopPid));
    const bool drawn =
        now.pid > 0 && now.pid != m_oldDesktopPid && now.rootPixmap != 0 && newPixmap;
    if (!drawn && !m_readyDeadline.hasExpired())
        return;
    if (!drawn)
        qWarning("Quillet: the restarted desktop program did not show its desktop within %d s",
                 kReadyTimeoutMs / 1000);
    m_readyPoll.stop();
    if (m_ready)
        std::exchange(m_ready, {})();
}
