// Drives the window operations of the model against the real desktop for the window tests.
// Commands run in order:
//   list                     print the model's window list ("window 0x<id> <*|-> <app>\t<title>")
//   select ID                select the listed window with this X id
//   arrange NAME | resize W H | hide | refresh
//   own-window TITLE         show a window of this process and wait until it is managed
//   sizes                    print Qt's device pixel ratio and the sizes the program shows:
//                            "ratio R screen WxH visible WxH current WxH tile WxH"
#include "core/AppModel.h"
#include "core/DefaultsStore.h"
#include "core/Scheduler.h"
#include "platform/Platform.h"
#include "platform/x11/PlatformFactory.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QScreen>
#include <QTextStream>
#include <QThread>
#include <QWindow>
#include <algorithm>
#include <memory>

namespace {

QTextStream out(stdout);

[[noreturn]] void fail(const QString& message)
{
    QTextStream(stderr) << "window_driver: " << message << Qt::endl;
    std::exit(2);
}

void list(const AppModel& model)
{
    for (const ManagedWindow& w : model.windows()) {
        const bool selected = model.selectedWindowID() == w.id;
        out << "window 0x" << QString::number(w.element, 16) << ' ' << (selected ? '*' : '-') << ' '
            << w.app << '\t' << w.title << Qt::endl;
    }
    out << "end" << Qt::endl;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "xcb");
    QGuiApplication app(argc, argv);
    const QStringList args = app.arguments().mid(1);

    std::unique_ptr<Platform> platform = createPlatform();
    QtScheduler scheduler;
    // The driver shows no pictures: any existing folder will do as the resource folder.
    AppModel model({*platform, DefaultsStore::standard(), scheduler, {app.applicationDirPath()}});
    std::unique_ptr<QWindow> ownWindow;

    auto next = [&](qsizetype& i) {
        if (++i >= args.size())
            fail(QStringLiteral("missing argument after %1").arg(args.at(i - 1)));
        return args.at(i);
    };
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString command = args.at(i);
        if (command == QLatin1String("list")) {
            list(model);
        } else if (command == QLatin1String("refresh")) {
            model.refreshWindows();
        } else if (command == QLatin1String("select")) {
            bool ok = false;
            const quint64 id = next(i).toULongLong(&ok, 0);
            const auto& windows = model.windows();
            const auto found =
                std::find_if(windows.begin(), windows.end(),
                             [id](const ManagedWindow& w) { return w.element == id; });
            if (!ok || found == windows.end())
                fail(QStringLiteral("no listed window %1").arg(args.at(i)));
            model.setSelectedWindowID(found->id);
        } else if (command == QLatin1String("arrange")) {
            const auto arrangement = windowArrangementFromRaw(next(i));
            if (!arrangement)
                fail(QStringLiteral("unknown arrangement %1").arg(args.at(i)));
            model.arrangeSelected(*arrangement);
        } else if (command == QLatin1String("resize")) {
            const double width = next(i).toDouble();
            const double height = next(i).toDouble();
            model.resizeSelected({width, height});
        } else if (command == QLatin1String("hide")) {
            model.hideSelectedWindow();
        } else if (command == QLatin1String("sizes")) {
            const QList<ScreenInfo> screens = platform->screens().screens();
            const QSizeF frame = screens.isEmpty() ? QSizeF() : screens.first().frame.size();
            const QSizeF visible =
                screens.isEmpty() ? QSizeF() : screens.first().visibleFrame.size();
            // The tile of the current mode, as the Resolution card labels it.
            QString tile = QStringLiteral("none");
            for (const DisplayMode& mode : model.modes()) {
                if (mode.width == model.currentWidth() && mode.height == model.currentHeight())
                    tile = QStringLiteral("%1x%2").arg(mode.width).arg(mode.height);
            }
            const QScreen* primary = QGuiApplication::primaryScreen();
            out << "ratio " << (primary ? primary->devicePixelRatio() : 0.0) << " screen "
                << frame.width() << 'x' << frame.height() << " visible " << visible.width() << 'x'
                << visible.height() << " current " << model.currentWidth() << 'x'
                << model.currentHeight() << " tile " << tile << Qt::endl;
        } else if (command == QLatin1String("own-window")) {
            ownWindow = std::make_unique<QWindow>();
            ownWindow->setTitle(next(i));
            ownWindow->resize(300, 200);
            ownWindow->show();
            // Wait until the window manager manages it, so that a list made now could include it.
            const auto handle = quint64(ownWindow->winId());
            auto managed = [&] {
                const QList<ClientWindow> all = platform->windowControl().windows();
                return std::any_of(all.begin(), all.end(),
                                   [handle](const ClientWindow& w) { return w.handle == handle; });
            };
            QElapsedTimer shown;
            shown.start();
            while (!managed() && shown.elapsed() < 5000) {
                app.processEvents();
                QThread::msleep(10);
            }
            out << "own 0x" << QString::number(handle, 16)
                << (managed() ? " managed" : " unmanaged") << Qt::endl;
        } else {
            fail(QStringLiteral("unknown command %1").arg(command));
        }
    }
    return 0;
}
