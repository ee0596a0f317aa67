// Drives the display operations of the real model on the real X platform for the displays
// integration test. Commands, through a CommandFile:
//   screens | displays | modes | current | select <id> | apply <W>x<H> | restore |
//   changes | quit
// The model is built once at start-up, so the modes restored are the ones the displays had then.
#include "CommandFile.h"
#include "core/AppModel.h"
#include "core/DefaultsStore.h"
#include "core/Scheduler.h"
#include "platform/Platform.h"
#include "platform/x11/PlatformFactory.h"

#include <QGuiApplication>
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
    std::unique_ptr<Platform> platform = createPlatform();
    Platform::setShared(platform.get());
    DefaultsStore defaults(DefaultsStore::standardPath());
    QtScheduler scheduler;
    AppModel model({*platform, defaults, scheduler, {QStringLiteral(QUILLET_BUILD_SHARE)}});

    int changes = 0;
    QObject::connect(&platform->screens(), &Screens::screensChanged, &app, [&] { ++changes; });

    CommandFile commands(
        QString::fromLocal8Bit(argv[1]), [&](const QString& command, const QString& argument) {
            if (command == QLatin1String("screens")) {
                for (const ScreenInfo& s : platform->screens().screens()) {
                    commands.say(
                        QStringLiteral("screen %1 %2 frame=%3 visible=%4 scale=%5 name=%6")
                            .arg(s.displayId ? QString::number(*s.displayId) : QStringLiteral("-"))
                            .arg(s.outputName, rect(s.frame), rect(s.visibleFrame))
                            .arg(s.backingScale)
                            .arg(s.name));
                }
            } else if (command == QLatin1String("displays")) {
                for (const DisplayInfo& d : model.displays())
                    commands.say(QStringLiteral("display %1 main=%2 name=%3")
                                     .arg(d.id)
                                     .arg(d.isMain)
                                     .arg(d.name));
                commands.say(QStringLiteral("selected %1").arg(model.selectedDisplayID()));
            } else if (command == QLatin1String("modes")) {
                for (const DisplayMode& m : model.modes())
                    commands.say(QStringLiteral("mode %1x%2 %3")
                                     .arg(m.width)
                                     .arg(m.height)
                                     .arg(m.refresh, 0, 'f', 2));
            } else if (command == QLatin1String("current")) {
                commands.say(QStringLiteral("current %1x%2")
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
                commands.say(found ? QStringLiteral("applied") : QStringLiteral("no such mode"));
            } else if (command == QLatin1String("restore")) {
                model.restoreSelectedDisplay();
            } else if (command == QLatin1String("changes")) {
                commands.say(QStringLiteral("changes %1").arg(changes));
            } else if (command == QLatin1String("quit")) {
                // What the program does when it ends.
                model.display().restoreAll();
                QTimer::singleShot(0, &app, &QCoreApplication::quit);
            } else {
                commands.say(QStringLiteral("unknown command"));
            }
        });
    return app.exec();
}
