// Test tool: prints what the program's own backends see of the panel on the current X display.
//
//   quillet_panel_items                 the tray items, left to right
//   quillet_panel_items --time N [PID]  N window lists (X only), name lists and full panel scans
//                                       (the program's background scan), with timings in
//                                       ms; with PID, that process is stopped (SIGSTOP) after
//                                       one warm-up scan and continued at the end
//
// Item lines: "id=0x… x=… y=… w=… h=… owner=… label=…" with the rectangle in global top-left
// coordinates, so it can be compared with xwininfo on a desktop whose primary monitor is at 0,0.
#include "core/MenuBarScanner.h"
#include "platform/Platform.h"
#include "platform/x11/PlatformFactory.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QGuiApplication>
#include <QTextStream>
#include <algorithm>
#include <csignal>

namespace {

QTextStream out(stdout);

double primaryHeight(const Platform& platform)
{
    for (const ScreenInfo& s : platform.screens().screens()) {
        if (s.frame.topLeft() == QPointF(0, 0))
            return s.frame.height();
    }
    return 0;
}

// One panel scan as the program runs it (on its own thread), waited for here.
QList<MenuBarItem> scanItems(const Platform& platform)
{
    PanelSnapshot snapshot;
    QEventLoop loop;
    const QMetaObject::Connection done = QObject::connect(
        &platform.panelScan(), &PanelScan::scanned, &loop, [&](const PanelSnapshot& s) {
            snapshot = s;
            loop.quit();
        });
    const bool withNames = platform.windowControl().canControlWindows();
    platform.panelScan().start(withNames);
    loop.exec();
    QObject::disconnect(done);
    return MenuBarScanner::itemsFrom(platform.screens().screens(), snapshot.windows,
                                     MenuBarNamer::named(snapshot.names));
}

void printItems(const Platform& platform)
{
    const double height = primaryHeight(platform);
    for (const MenuBarItem& item : scanItems(platform)) {
        const QRectF& r = item.frame;
        out << QStringLiteral("id=0x%1 x=%2 y=%3 w=%4 h=%5 owner=%6 label=%7\n")
                   .arg(item.id, 0, 16)
                   .arg(r.x())
                   .arg(height - r.y() - r.height())
                   .arg(r.width())
                   .arg(r.height())
                   .arg(item.owner, item.label);
    }
}

template <typename F> QList<double> timed(int runs, F f)
{
    QList<double> ms;
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer t;
        t.start();
        f();
        ms << t.nsecsElapsed() / 1e6;
    }
    std::sort(ms.begin(), ms.end());
    return ms;
}

void printTimes(const char* what, QList<double> ms)
{
    out << QStringLiteral("%1: runs=%2 min=%3 median=%4 max=%5 ms\n")
               .arg(QLatin1String(what))
               .arg(ms.size())
               .arg(ms.first(), 0, 'f', 2)
               .arg(ms.at(ms.size() / 2), 0, 'f', 2)
               .arg(ms.last(), 0, 'f', 2);
}

} // namespace

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    const auto platform = createPlatform();
    const QStringList args = app.arguments().mid(1);
    if (platform->name() == QLatin1String("degraded")) {
        QTextStream(stderr) << "quillet_panel_items: no X11 session\n";
        return 2;
    }
    if (args.value(0) == QLatin1String("--time")) {
        const int runs = std::max(1, args.value(1).toInt());
        const pid_t silent = pid_t(args.value(2).toInt());
        if (silent > 0) {
            // The program has scanned before an application stops answering.
            scanItems(*platform);
            kill(silent, SIGSTOP);
        }
        printTimes("snapshot", timed(runs, [&] { platform->windowList().onScreenWindows(); }));
        printTimes("names", timed(runs, [&] { platform->itemNames().trayElements(); }));
        printTimes("scan", timed(runs, [&] { scanItems(*platform); }));
        if (silent > 0)
            kill(silent, SIGCONT);
    } else {
        printItems(*platform);
    }
    out.flush();
    return 0;
}
