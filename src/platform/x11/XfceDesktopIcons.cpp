// xfconf icon style 0 hides the icons, 2 shows the file icons (xfdesktop's default).
#include "XfceDesktopIcons.h"

#include "platform/ProcessRunner.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDeadlineTimer>
#include <QThread>

namespace {
const QString kXfdesktopBusName = QStringLiteral("org.xfce.xfdesktop");

bool xfdesktopOnBus()
{
    QDBusConnectionInterface* bus = QDBusConnection::sessionBus().interface();
    return bus && bus->isServiceRegistered(kXfdesktopBusName).value();
}
} // namespace

bool XfceDesktopIcons::isRunning()
{
    return xfdesktopOnBus();
}

void XfceDesktopIcons::writeIconsHidden(bool hidden)
{
    // -n creates the property: it does not exist until someone first writes it.
    m_processes.run(QStringLiteral("/usr/bin/xfconf-query"),
                    {QStringLiteral("-c"), QStringLiteral("xfce4-desktop"), QStringLiteral("-p"),
                     QStringLiteral("/desktop-icons/style"), QStringLiteral("-n"),
                     QStringLiteral("-t"), QStringLiteral("int"), QStringLiteral("-s"),
                     hidden ? QStringLiteral("0") : QStringLiteral("2")});
}

void XfceDesktopIcons::restartDesktop()
{
    // xfdesktop applies the style live but may then crash on the next screen-size change; one
    // started with the new style does not. The new one is detached so it outlives us.
    m_processes.run(QStringLiteral("/usr/bin/xfdesktop"), {QStringLiteral("--quit")});
    // A new instance started while the old one still holds its bus name would only forward
    // its command line to the old one and exit.
    const QDeadlineTimer deadline(3000);
    while (xfdesktopOnBus() && !deadline.hasExpired())
        QThread::msleep(20);
    m_processes.startDetached(QStringLiteral("/usr/bin/xfdesktop"), {});
}
