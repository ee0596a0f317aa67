// Entry point of Quillet.
#include "CommandLine.h"
#include "QuilletApp.h"
#include "RemoteCommand.h"
#include "core/AppModel.h"
#include "core/DefaultsStore.h"

#include <QApplication>
#include <cstdio>
#include <cstdlib>
#include <fontconfig/fontconfig.h>
#include <thread>

int main(int argc, char* argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    // Help, version and usage errors come first: they need no display and change nothing.
    const CommandLine commandLine = CommandLine::parse(arguments);
    switch (commandLine.outcome) {
    case CommandLine::Outcome::help: {
        const QCoreApplication application(argc, argv);
        std::fputs(CommandLine::helpText().toLocal8Bit().constData(), stdout);
        return 0;
    }
    case CommandLine::Outcome::print:
        std::fputs(commandLine.text.toLocal8Bit().constData(), stdout);
        return 0;
    case CommandLine::Outcome::usageError:
        std::fputs(commandLine.text.toLocal8Bit().constData(), stderr);
        return 2;
    case CommandLine::Outcome::command: {
        QCoreApplication application(argc, argv);
        return RemoteCommand::run(commandLine.command);
    }
    case CommandLine::Outcome::run:
        break;
    }

    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
        qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        std::fprintf(stderr, "Quillet needs a graphical desktop session: neither DISPLAY nor "
                             "WAYLAND_DISPLAY is set.\n");
        return 1;
    }
    // Reading the system's font configuration is the largest single part of the start-up and
    // needs nothing from Qt: it runs beside the connection to the display and the set-up of the
    // desktop backends, and is done when the main window lays out its first text.
    std::jthread fontSetUp([] { FcInit(); });
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Quillet"));
    QApplication::setApplicationVersion(QStringLiteral(QUILLET_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("quillet"));
    // The shell decides what closing the main window does (quit, or keep running in the tray).
    QApplication::setQuitOnLastWindowClosed(false);

    QuilletApp app;
    int forwardedStatus = 0;
    if (!app.becomeTheRunningInstance(forwardedStatus))
        return forwardedStatus;
    fontSetUp.join();
    app.start(!commandLine.hidden);
    const int status = QApplication::exec();
    DefaultsStore::standard().flush();
    // The quit waited a few seconds for the pictures to go back. Work still running then is held
    // up by a desktop that does not answer; its records stay for the next launch, and ending
    // here keeps that thread away from the objects the normal exit destroys.
    if (!AppModel::shared().wallpaper().idle()) {
        std::fprintf(stderr, "Quillet: the desktop pictures did not go back in time; the next "
                             "launch puts them back.\n");
        std::fflush(nullptr);
        std::_Exit(status);
    }
    return status;
}
