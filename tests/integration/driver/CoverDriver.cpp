// Drives the panel cover of the model against the real desktop, with the real mask windows,
// for the panel cover test. Commands, through a CommandFile:
//   items                 the tray items: "item id=<id> x= y= w= h= label=<label>" (root pixels)
//   cover keep|entire|items
//   toggle LABEL          hide or show the item with this label
//   settle                wait until no recapture is pending and every mask window is exposed
//   masks                 "mask win=0x<id> x= y= w= h= picture=0|1" per mask window
//   quit
#include "AppModel.h"
#include "CommandFile.h"
#include "DefaultsStore.h"
#include "Scheduler.h"
#include "platform/Platform.h"
#include "platform/x11/PlatformFactory.h"
#include "ui/MaskWindow.h"
#include "ui/MaskWindowPresenter.h"
#include "ui/SliceView.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QScreen>
#include <QTimer>
#include <QWindow>
#include <algorithm>
#include <cstdio>
#include <memory>

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
    Driver(AppModel& model, MaskWindowPresenter& masks, const QString& commandPath)
        : m_model(model), m_masks(masks),
          m_commands(commandPath, [this](const QString& command, const QString& argument) {
              run(command, argument);
          })
    {
        m_settle.setInterval(20);
        connect(&m_settle, &QTimer::timeout, this, &Driver::checkSettled);
    }

private:
    void run(const QString& command, const QString& argument)
    {
        if (command == QLatin1String("items")) {
            const QRect primary = QGuiApplication::primaryScreen()->geometry();
            for (const MenuBarItem& item : m_model.menuBarItems()) {
                m_commands.say(
                    QStringLiteral("item id=%1 %2 label=%3")
                        .arg(item.id)
                        .arg(rootRect(primaryTopLeft(item.cocoaRect, primary)), item.label));
            }
        } else if (command == QLatin1String("cover")) {
            if (const auto cover = menuBarCoverFromRaw(argument))
                m_model.setMenuBarCover(*cover);
            else
                m_commands.say(QStringLiteral("error unknown cover ") + argument);
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
        } else if (command == QLatin1String("quit")) {
            QCoreApplication::quit();
        } else {
            m_commands.say(QStringLiteral("error unknown command ") + command);
        }
    }

    void checkSettled()
    {
        bool settled = !m_model.hasPendingBarRecapture();
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
    MaskWindowPresenter& m_masks;
    CommandFile m_commands;
    QTimer m_settle;
    QElapsedTimer m_settleClock;
};

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "xcb");
    QApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: quillet_cover_driver COMMAND-FILE\n");
        return 2;
    }

    std::unique_ptr<Platform> platform = createPlatform();
    QtScheduler scheduler;
    AppModel model(
        {*platform, DefaultsStore::standard(), scheduler, {QStringLiteral(QUILLET_BUILD_SHARE)}});
    MaskWindowPresenter masks;
    model.overlays().setPresenter(&masks);
    Driver driver(model, masks, QString::fromLocal8Bit(argv[1]));
    const int status = app.exec();
    model.overlays().clearMenuBarWindows();
    model.overlays().setPresenter(nullptr);
    return status;
}
