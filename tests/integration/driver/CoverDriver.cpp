// Drives the panel cover of the model against the real desktop, with the real mask windows,
// for the panel cover test. Commands, through a CommandFile:
//   items                 the tray items: "item id=<id> x= y= w= h= hidden=0|1 label=<label>"
//                         (root pixels), then "gap <why>" when the panel does not tell where
//                         its tray icons are
//   cover keep|entire|items
//   toggle LABEL          hide or show the item with this label
//   settle                wait until no recapture or panel scan is pending and every mask
//                         window is exposed and has replaced the ones before it
//   masks                 "mask win=0x<id> x= y= w= h= picture=0|1" per mask window
//   trayicon              show a tray icon of our own (a StatusNotifierItem under a watcher)
//   stall                 "stall max=<ms> ticks=<n>": the longest the event loop was held up
//                         since the last stall command
//   timetoggle LABEL N    toggles the item N times, each time until the new masks are painted:
//                         "toggle median=<ms> max=<ms>"
//   timecover MODE        switches the cover to MODE and waits until nothing is pending and the
//                         masks are painted: "cover ms=<ms> masks=<n>"
//   quit
#include "CommandFile.h"
#include "core/AppModel.h"
#include "core/Codecs.h"
#include "core/DefaultsStore.h"
#include "core/Scheduler.h"
#include "core/TaskQueue.h"
#include "platform/Platform.h"
#include "platform/x11/PlatformFactory.h"
#include "ui/MaskWindow.h"
#include "ui/MaskWindowPresenter.h"
#include "ui/SliceView.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QScreen>
#include <QSystemTrayIcon>
#include <QTimer>
#include <QWindow>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <xcb/xcb.h>

namespace {

// A rectangle in Qt's logical pixels as device pixels of the root window, as screenshots see
// it (the test desktop's primary monitor is at the root's origin).
QString rootRect(const QRectF& r)
{
    const qreal dpr = QGuiApplication::primaryScreen()->devicePixelRatio();
    const QRectF d(r.topLeft() * dpr, r.size() * dpr);
    return QStringLiteral("x=%1 y=%2 w=%3 h=%4")
        .arg(qRound(d.x()))
        .arg(qRound(d.y()))
        .arg(qRound(d.width()))
        .arg(qRound(d.height()));
}

// Bottom-left points to Qt's top-left logical coordinates, without rounding.
QRectF primaryTopLeft(const QRectF& r, const QRect& primary)
{
    return QRectF(r.x() + primary.x(), primary.height() - (r.y() + r.height()) + primary.y(),
                  r.width(), r.height());
}

class Driver final : public QObject {
public:
    Driver(AppModel& model, const Platform& platform, MaskWindowPresenter& masks,
           const QString& commandPath)
        : m_model(model), m_platform(platform), m_masks(masks),
          m_commands(commandPath, [this](const QString& command, const QString& argument) {
              run(command, argument);
          })
    {
        m_settle.setInterval(20);
        connect(&m_settle, &QTimer::timeout, this, &Driver::checkSettled);
        // A tick every 2 ms: a longer gap between two means the UI thread was held up.
        m_tick.setInterval(2);
        m_tick.setTimerType(Qt::PreciseTimer);
        connect(&m_tick, &QTimer::timeout, this, [this] {
            m_longestStall = std::max(m_longestStall, m_sinceTick.nsecsElapsed() / 1e6);
            m_sinceTick.start();
            ++m_ticks;
        });
        m_sinceTick.start();
        m_tick.start();
    }

private:
    void run(const QString& command, const QString& argument)
    {
        if (command == QLatin1String("items")) {
            const QRect primary = QGuiApplication::primaryScreen()->geometry();
            for (const MenuBarItem& item : m_model.menuBarItems()) {
                m_commands.say(QStringLiteral("item id=%1 %2 hidden=%3 label=%4")
                                   .arg(item.id)
                                   .arg(rootRect(primaryTopLeft(item.frame, primary)))
                                   .arg(m_model.selectedItemIDs().contains(item.id) ? 1 : 0)
                                   .arg(item.label));
            }
            if (const QString gap = m_model.desktopSupport().itemsGap; !gap.isEmpty())
                m_commands.say(QStringLiteral("gap ") + gap);
        } else if (command == QLatin1String("cover")) {
            if (const auto cover = menuBarCoverFromRaw(argument))
                m_model.setMenuBarCover(*cover);
            else
                m_commands.say(QStringLiteral("error unknown cover ") + argument);
        } else if (command == QLatin1String("colour")) {
            // A desktop colour of its own: the picture behind the panel changes.
            m_model.setBackgroundColor(Codecs::colorFromHex(argument));
            m_model.setBackground(DesktopBackground::color);
        } else if (command == QLatin1String("toggle")) {
            const auto& items = m_model.menuBarItems();
            const auto found = std::find_if(items.begin(), items.end(), [&](const MenuBarItem& i) {
                return i.label == argument;
            });
            if (found != items.end())
                m_model.toggleItem(found->id);
            else
                m_commands.say(QStringLiteral("error no item ") + argument);
        } else if (command == QLatin1String("settle")) {
            // Later commands wait until the masks are up and painted.
            m_commands.hold();
            m_settleClock.start();
            m_settle.start();
        } else if (command == QLatin1String("masks")) {
            for (MaskWindow* window : m_masks.menuBarWindows()) {
                m_commands.say(QStringLiteral("mask win=0x%1 %2 picture=%3")
                                   .arg(window->winId(), 0, 16)
                                   .arg(rootRect(window->geometry()))
                                   .arg(window->sliceView() ? 1 : 0));
            }
        } else if (command == QLatin1String("trayicon")) {
            if (!m_trayIcon) {
                m_trayIcon =
                    new QSystemTrayIcon(QIcon::fromTheme(QStringLiteral("dialog-question")), this);
                m_trayIcon->setToolTip(QStringLiteral("Quillet"));
                m_trayIcon->show();
            }
        } else if (command == QLatin1String("stall")) {
            m_commands.say(QStringLiteral("stall max=%1 ticks=%2")
                               .arg(m_longestStall, 0, 'f', 1)
                               .arg(m_ticks));
            m_longestStall = 0;
            m_ticks = 0;
        } else if (command == QLatin1String("timetoggle")) {
            timeToggles(argument);
        } else if (command == QLatin1String("timecover")) {
            timeCover(argument);
        } else if (command == QLatin1String("quit")) {
            QCoreApplication::quit();
        } else {
            m_commands.say(QStringLiteral("error unknown command ") + command);
        }
    }

    // Toggles an item again and again, each time until its new masks have painted and the old
    // ones are gone.
    void timeToggles(const QString& argument)
    {
        const qsizetype split = argument.lastIndexOf(QLatin1Char(' '));
        const QString label = argument.left(split);
        const int runs = std::max(1, argument.mid(split + 1).toInt());
        QList<double> ms;
        for (int i = 0; i < runs; ++i) {
            quint32 id = 0;
            for (const MenuBarItem& item : m_model.menuBarItems()) {
                if (item.label == label)
                    id = item.id;
            }
            if (!id) {
                m_commands.say(QStringLiteral("error no item ") + label);
                return;
            }
            QElapsedTimer clock;
            clock.start();
            m_model.toggleItem(id);
            while (!masksPainted() && clock.elapsed() < 5000)
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
            // Until the X server has handled everything that was sent.
            if (auto* x11 = qApp->nativeInterface<QNativeInterface::QX11Application>()) {
                xcb_connection_t* c = x11->connection();
                std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
            }
            ms << clock.nsecsElapsed() / 1e6;
        }
        std::sort(ms.begin(), ms.end());
        m_commands.say(QStringLiteral("toggle runs=%1 median=%2 max=%3")
                           .arg(runs)
                           .arg(ms.at(ms.size() / 2), 0, 'f', 2)
                           .arg(ms.last(), 0, 'f', 2));
    }

    void timeCover(const QString& argument)
    {
        const auto cover = menuBarCoverFromRaw(argument);
        if (!cover) {
            m_commands.say(QStringLiteral("error unknown cover ") + argument);
            return;
        }
        QElapsedTimer clock;
        clock.start();
        m_model.setMenuBarCover(*cover);
        const auto done = [this, &cover] {
            return m_model.wallpaper().idle() && !m_model.hasPendingBarRecapture() &&
                   !m_platform.panelScan().isScanning() && masksPainted() &&
                   (*cover == MenuBarCover::keep || !m_masks.menuBarWindows().isEmpty());
        };
        while (!done() && clock.elapsed() < 10000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
        m_commands.say(QStringLiteral("cover ms=%1 masks=%2")
                           .arg(clock.nsecsElapsed() / 1e6, 0, 'f', 1)
                           .arg(m_masks.menuBarWindows().size()));
    }

    bool masksPainted() const
    {
        if (m_masks.isReplacing())
            return false;
        for (MaskWindow* window : m_masks.menuBarWindows()) {
            if (!window->hasPainted())
                return false;
        }
        return true;
    }

    void checkSettled()
    {
        bool settled = m_model.wallpaper().idle() && !m_model.hasPendingBarRecapture() &&
                       !m_platform.panelScan().isScanning() && !m_masks.isReplacing();
        for (MaskWindow* window : m_masks.menuBarWindows()) {
            const QWindow* handle = window->windowHandle();
            settled = settled && handle && handle->isExposed();
        }
        if (!settled && m_settleClock.elapsed() < 10000)
            return;
        if (!settled)
            m_commands.say(QStringLiteral("error not settled"));
        m_settle.stop();
        // One more round of events for the paint that follows the exposure.
        QTimer::singleShot(150, this, [this] { m_commands.finish(); });
    }

    AppModel& m_model;
    const Platform& m_platform;
    MaskWindowPresenter& m_masks;
    CommandFile m_commands;
    QSystemTrayIcon* m_trayIcon = nullptr;
    QTimer m_tick;
    QElapsedTimer m_sinceTick;
    double m_longestStall = 0;
    int m_ticks = 0;
    QTimer m_settle;
    QElapsedTimer m_settleClock;
};

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "xcb");
    QApplication app(argc, argv);
    // Our tray icon publishes the application's name, as the program's own does.
    QApplication::setApplicationName(QStringLiteral("Quillet"));
    if (argc < 2) {
        std::fprintf(stderr, "usage: quillet_cover_driver COMMAND-FILE\n");
        return 2;
    }

    std::unique_ptr<Platform> platform = createPlatform();
    QtScheduler scheduler;
    // As in the program: the pictures are set on a thread of their own.
    ThreadTaskQueue pictureWork(QStringLiteral("desktop pictures"));
    // And the panels are captured on another.
    ThreadTaskQueue captureWork(QStringLiteral("panel captures"));
    AppModel model({*platform,
                    DefaultsStore::standard(),
                    scheduler,
                    {QStringLiteral(QUILLET_BUILD_SHARE)},
                    nullptr,
                    &pictureWork,
                    false,
                    &captureWork});
    MaskWindowPresenter masks;
    model.overlays().setPresenter(&masks);
    Driver driver(model, *platform, masks, QString::fromLocal8Bit(argv[1]));
    const int status = app.exec();
    model.overlays().clearMenuBarWindows();
    model.overlays().setPresenter(nullptr);
    return status;
}
