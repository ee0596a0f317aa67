// Drives the panel cover of the model against the real desktop, with the real mask windows,
// for the panel cover test. It keeps running and reads one command per line from the FIFO
// given as its argument; each line starts with a sequence number, and every command ends its
// output with "done <number>" on stdout:
//   items                 the tray items: "item id=<id> x= y= w= h= label=<label>" (root pixels)
//   cover keep|entire|items
//   toggle LABEL          hide or show the item with this label
//   settle                wait until no recapture is pending and every mask window is exposed
//   masks                 "mask win=0x<id> x= y= w= h= picture=0|1" per mask window
//   quit
#include "AppModel.h"
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
#include <QSocketNotifier>
#include <QTextStream>
#include <QTimer>
#include <QWindow>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace {

QTextStream out(stdout);

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
    Driver(AppModel& model, MaskWindowPresenter& masks, int fd)
        : m_model(model), m_masks(masks), m_notifier(fd, QSocketNotifier::Read)
    {
        m_fd = fd;
        connect(&m_notifier, &QSocketNotifier::activated, this, &Driver::readCommands);
        m_settle.setInterval(20);
        connect(&m_settle, &QTimer::timeout, this, &Driver::checkSettled);
    }

private:
    void readCommands()
    {
        char buffer[4096];
        const ssize_t got = ::read(m_fd, buffer, sizeof buffer);
        if (got <= 0)
            return;
        m_pending.append(buffer, got);
        runQueued();
    }

    void runQueued()
    {
        while (!m_busy) {
            const qsizetype end = m_pending.indexOf('\n');
            if (end < 0)
                return;
            const QString line = QString::fromUtf8(m_pending.left(end)).trimmed();
            m_pending.remove(0, end + 1);
            if (!line.isEmpty())
                run(line);
        }
    }

    void finish() { out << "done " << m_sequence << Qt::endl; }

    void run(const QString& line)
    {
        m_sequence = line.section(QLatin1Char(' '), 0, 0);
        const QString command = line.section(QLatin1Char(' '), 1, 1);
        const QString argument = line.section(QLatin1Char(' '), 2);
        if (command == QLatin1String("items")) {
            const QRect primary = QGuiApplication::primaryScreen()->geometry();
            for (const MenuBarItem& item : m_model.menuBarItems()) {
                out << "item id=" << item.id << ' '
                    << rootRect(primaryTopLeft(item.cocoaRect, primary)) << " label=" << item.label
                    << Qt::endl;
            }
        } else if (command == QLatin1String("cover")) {
            if (const auto cover = menuBarCoverFromRaw(argument))
                m_model.setMenuBarCover(*cover);
            else
                out << "error unknown cover " << argument << Qt::endl;
        } else if (command == QLatin1String("toggle")) {
            bool found = false;
            for (const MenuBarItem& item : m_model.menuBarItems()) {
                if (item.label == argument) {
                    m_model.toggleItem(item.id);
                    found = true;
                    break;
                }
            }
            if (!found)
                out << "error no item " << argument << Qt::endl;
        } else if (command == QLatin1String("settle")) {
            // Later commands wait until the masks are up and painted.
            m_busy = true;
            m_settleClock.start();
            m_settle.start();
            return;
        } else if (command == QLatin1String("masks")) {
            for (MaskWindow* window : m_masks.menuBarWindows()) {
                out << "mask win=0x" << QString::number(window->winId(), 16) << ' '
                    << rootRect(window->geometry()) << " picture=" << (window->sliceView() ? 1 : 0)
                    << Qt::endl;
            }
        } else if (command == QLatin1String("quit")) {
            finish();
            QCoreApplication::quit();
            return;
        } else {
            out << "error unknown command " << command << Qt::endl;
        }
        finish();
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
            out << "error not settled" << Qt::endl;
        m_settle.stop();
        // One more round of events for the paint that follows the exposure.
        QTimer::singleShot(150, this, [this] {
            finish();
            m_busy = false;
            runQueued();
        });
    }

    AppModel& m_model;
    MaskWindowPresenter& m_masks;
    QSocketNotifier m_notifier;
    int m_fd = -1;
    QByteArray m_pending;
    QString m_sequence;
    QTimer m_settle;
    QElapsedTimer m_settleClock;
    bool m_busy = false;
};

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "xcb");
    QApplication app(argc, argv);
    if (argc < 2) {
        QTextStream(stderr) << "usage: quillet_cover_driver COMMAND-FIFO" << Qt::endl;
        return 2;
    }
    // Read and write, so the FIFO never reports end of file between two writers.
    const int fd = ::open(argv[1], O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        QTextStream(stderr) << "cannot open " << argv[1] << Qt::endl;
        return 2;
    }

    std::unique_ptr<Platform> platform = createPlatform();
    QtScheduler scheduler;
    AppModel model(
        {*platform, DefaultsStore::standard(), scheduler, {QStringLiteral(QUILLET_BUILD_SHARE)}});
    MaskWindowPresenter masks;
    model.overlays().setPresenter(&masks);
    Driver driver(model, masks, fd);
    out << "ready platform=" << platform->name() << Qt::endl;
    const int status = app.exec();
    model.overlays().clearMenuBarWindows();
    model.overlays().setPresenter(nullptr);
    return status;
}
