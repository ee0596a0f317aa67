// Entry point of Quillet.
#include "QuilletApp.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Quillet"));
    QApplication::setApplicationVersion(QStringLiteral(QUILLET_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("quillet"));
    // Closing the main window leaves the program running (tray icon, reopen request).
    QApplication::setQuitOnLastWindowClosed(false);

    QuilletApp app;
    if (!app.becomeTheRunningInstance())
        return 0;
    app.start();
    return QApplication::exec();
}
