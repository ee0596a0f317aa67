// The main window frame; the cards inside it are built by ContentView.
#include "MainWindow.h"

#include "core/AppModel.h"

#include <QLabel>

MainWindow::MainWindow(AppModel& model, QWidget* parent) : QMainWindow(parent), m_model(model)
{
    setObjectName(QStringLiteral("main"));
    setWindowTitle(QStringLiteral("Quillet"));
    auto* placeholder = new QLabel(QStringLiteral("Quillet"), this);
    placeholder->setAlignment(Qt::AlignCenter);
    placeholder->setMinimumSize(632, 400);
    setCentralWidget(placeholder);
}

void MainWindow::setTaskbarPresence(bool shown)
{
    // Qt::Tool windows are left out of taskbars and pagers by EWMH window managers.
    const bool visible = isVisible();
    setWindowFlag(Qt::Tool, !shown);
    if (visible)
        show();
}
