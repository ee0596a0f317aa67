// Drives the model's desktop choices against the real desktop, for the wallpaper test: a choice
// changed while the program runs, as the main window changes it. Commands, through a
// CommandFile:
//   background keep|color|image
//   colour #RRGGBB
//   light PATH | dark PATH
//   cover keep|entire
//   enabled on|off
//   icons hide|show
//   support               answers "support DESKTOP|DRAWN-BY|pictures|icons" (0 or 1 each)
//   quit                  puts the desktop back as quitting the program does, then exits
#include "CommandFile.h"
#include "core/AppModel.h"
#include "core/Codecs.h"
#include "core/DefaultsStore.h"
#include "core/Scheduler.h"
#include "platform/Platform.h"
#include "platform/x11/PlatformFactory.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QThread>
#include <cstdio>
#include <memory>

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "xcb");
    QGuiApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: quillet_wallpaper_driver COMMAND-FILE\n");
        return 2;
    }
    std::unique_ptr<Platform> platform = createPlatform();
    QtScheduler scheduler;
    AppModel model(
        {*platform, DefaultsStore::standard(), scheduler, {QStringLiteral(QUILLET_BUILD_SHARE)}});
    std::unique_ptr<CommandFile> commands;
    commands = std::make_unique<CommandFile>(
        QString::fromLocal8Bit(argv[1]), [&](const QString& command, const QString& argument) {
            if (command == QLatin1String("background")) {
                if (const auto background = desktopBackgroundFromRaw(argument))
                    model.setBackground(*background);
                else
                    commands->say(QStringLiteral("error unknown background ") + argument);
            } else if (command == QLatin1String("colour")) {
                model.setBackgroundColor(Codecs::colorFromHex(argument));
            } else if (command == QLatin1String("light")) {
                model.setLightWallpaperURL(argument);
            } else if (command == QLatin1String("dark")) {
                model.setDarkWallpaperURL(argument);
            } else if (command == QLatin1String("cover")) {
                if (const auto cover = menuBarCoverFromRaw(argument))
                    model.setMenuBarCover(*cover);
                else
                    commands->say(QStringLiteral("error unknown cover ") + argument);
            } else if (command == QLatin1String("enabled")) {
                model.setEnabled(argument == QLatin1String("on"));
            } else if (command == QLatin1String("icons")) {
                model.setDesktopIconsHidden(argument == QLatin1String("hide"));
            } else if (command == QLatin1String("support")) {
                const DesktopSupport::State state = model.desktopSupport();
                commands->say(QStringLiteral("support %1|%2|%3|%4")
                                  .arg(state.desktop, state.drawnBy)
                                  .arg(int(state.pictures))
                                  .arg(int(state.icons)));
            } else if (command == QLatin1String("quit")) {
                // As the program quits: the icon style first, the desktop program restarted
                // once, last.
                DesktopIcons& icons = model.desktopIcons();
                const auto waitUntil = [](const std::function<bool()>& done) {
                    QElapsedTimer waited;
                    waited.start();
                    while (!done() && waited.elapsed() < 5000) {
                        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
                        QThread::msleep(5);
                    }
                };
                model.display().restoreAll();
                icons.holdRestarts();
                icons.restore();
                waitUntil([&icons] { return icons.onlyRestartLeft(); });
                model.wallpaper().restore();
                icons.releaseRestarts(false);
                waitUntil([&icons] { return icons.isSettled(); });
                model.overlays().clearMenuBarWindows();
                QCoreApplication::quit();
            } else {
                commands->say(QStringLiteral("error unknown command ") + command);
            }
        });
    return app.exec();
}
