// Entry point of Quillet.
#include "QuilletApp.h"

#include <QApplication>
#include <cstdio>

int main(int argc, char* argv[])
{
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
        qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        std::fprintf(stderr, "Quillet needs a graphical desktop session: neither DISPLAY nor "
                             "WAYLAND_DISPLAY is set.\n");
        return 1;
    }
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Quillet"));
    QApplication::setApplicationVersion(QStringLiteral(QUILLET_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("quillet"));
    // The shell decides what closing the main window does (quit, or keep running in the tray).
    QApplication::setQuitOnLastWindowClosed(false);

    QuilletApp app;
    if (!app.becomeTheRunningInstance())
        return 0;
    app.start();
    return QApplication::exec();
}
