// Entry point of Quillet.
#include "QuilletApp.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Quillet"));
    QApplication::setOrganizationName(QStringLiteral("Quillet"));
    QApplication::setDesktopFileName(QStringLiteral("quillet"));
    // Closing the main window leaves the program running (tray, reopen).
    QApplication::setQuitOnLastWindowClosed(false);

    QuilletApp app;
    app.start();
    return QApplication::exec();
}
