// Drives the display operations of the real model on the real X platform for the displays
// integration test. Commands are lines appended to a file, "<tag> <command> [argument]":
//   screens | qtscreens | displays | modes | current | select <id> | apply <W>x<H> | enable 0|1 |
//   restore | changes | quit
// Every answer line starts with the tag; "<tag> done" ends each answer. The model is built once
// at start-up, so the modes restored are the ones the displays had then.
#include "AppModel.h"
#include "DefaultsStore.h"
#include "Scheduler.h"
#include "platform/Platform.h"
#include "platform/x11/PlatformFactory.h"

#include <QFile>
#include <QGuiApplication>
#include <QScreen>
#include <QTextStream>
#include <QTimer>
#include <cstdio>

namespace {

QString rect(const QRectF& r)
{
    return QStringLiteral("%1,%2,%3x%4").arg(r.x()).arg(r.y()).arg(r.width()).arg(r.height());
}

} // namespace

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: displays_driver COMMAND-FILE\n");
        return 2;
    }
    const QString commandPath = QString::fromLocal8Bit(argv[1]);

    std::unique_ptr<Platform> platform = createPlatform();
    Platform::setShared(platform.get());
    DefaultsStore defaults(DefaultsStore::standardPath());
    QtScheduler scheduler;
    AppModel model({*platform, defaults, scheduler, {QStringLiteral(QUILLET_BUILD_SHARE)}});

    int changes = 0;
    QObject::connect(&platform->screens(), &Screens::screensChanged, &app, [&] { ++changes; });

    QTextStream out(stdout);
    qint64 readOffset = 0;
    QByteArray pending;
    QTimer poll;
    auto handle = [&](const QString& tag, const QString& command, const QString& argument) {
        const auto say = [&](const QString& line) { out << tag << ' ' << line << '\n'; };
        if (command == QLatin1String("screens")) {
            for (const ScreenInfo& s : platform->screens().screens()) {
                say(QStringLiteral("screen %1 %2 frame=%3 visible=%4 scale=%5 name=%6")
                        .arg(s.displayId ? QString::number(*s.displayId) : QStringLiteral("-"))
                        .arg(s.outputName, rect(s.frame), rect(s.visibleFrame))
                        .arg(s.backingScale)
                        .arg(s.name));
            }
        } else if (command == QLatin1String("qtscreens")) {
            // Qt's own view, to compare with the frames: top-left logical coordinates.
            for (const QScreen* s : QGuiApplication::screens()) {
                const QRect g = s->geometry();
                say(QStringLiteral("qtscreen %1 %2,%3,%4x%5 scale=%6")
                        .arg(s->name())
                        .arg(g.x())
                        .arg(g.y())
                        .arg(g.width())
                        .arg(g.height())
                        .arg(s->devicePixelRatio()));
            }
        } else if (command == QLatin1String("displays")) {
            for (const DisplayInfo& d : model.displays())
                say(QStringLiteral("display %1 main=%2 name=%3")
                        .arg(d.id)
                        .arg(d.isMain)
                        .arg(d.name));
            say(QStringLiteral("selected %1").arg(model.selectedDisplayID()));
        } else if (command == QLatin1String("modes")) {
            for (const DisplayMode& m : model.modes())
                say(QStringLiteral("mode %1x%2 %3")
                        .arg(m.width)
                        .arg(m.height)
                        .arg(m.refresh, 0, 'f', 2));
        } else if (command == QLatin1String("current")) {
            say(QStringLiteral("current %1x%2")
                    .arg(model.currentWidth())
                    .arg(model.currentHeight()));
        } else if (command == QLatin1String("select")) {
            model.setSelectedDisplayID(argument.toUInt());
            model.reloadModes();
        } else if (command == QLatin1String("apply")) {
            const QStringList size = argument.split(QLatin1Char('x'));
            bool found = false;
            for (const DisplayMode& m : model.modes()) {
                if (size.size() == 2 && m.width == size[0].toLongLong() &&
                    m.height == size[1].toLongLong()) {
                    model.apply(m);
                    found = true;
                    break;
                }
            }
            say(found ? QStringLiteral("applied") : QStringLiteral("no such mode"));
        } else if (command == QLatin1String("enable")) {
            model.setEnabled(argument == QLatin1String("1"));
        } else if (command == QLatin1String("restore")) {
            model.restoreSelectedDisplay();
        } else if (command == QLatin1String("changes")) {
            say(QStringLiteral("changes %1").arg(changes));
        } else if (command == QLatin1String("quit")) {
            // What the program does when it ends.
            model.display().restoreAll();
            QTimer::singleShot(0, &app, &QCoreApplication::quit);
        } else {
            say(QStringLiteral("unknown command"));
        }
        say(QStringLiteral("done"));
        out.flush();
    };
    QObject::connect(&poll, &QTimer::timeout, &app, [&] {
        QFile file(commandPath);
        if (!file.open(QIODevice::ReadOnly) || !file.seek(readOffset))
            return;
        const QByteArray data = file.readAll();
        readOffset += data.size();
        pending += data;
        qsizetype end;
        while ((end = pending.indexOf('\n')) >= 0) {
            const QString line = QString::fromUtf8(pending.left(end)).trimmed();
            pending.remove(0, end + 1);
            const QStringList words = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
            if (words.size() >= 2)
                handle(words[0], words[1], words.value(2));
        }
    });
    poll.start(20);
    out << "ready\n";
    out.flush();
    return app.exec();
}
