// The main window frame and its menu; the cards inside it are built by ContentView.
#include "MainWindow.h"

#include "AppIcon.h"
#include "ContentView.h"
#include "PreferencesView.h"
#include "UpdaterController.h"
#include "components/Look.h"
#include "core/AppModel.h"
#include "platform/Appearance.h"

#include <QApplication>
#include <QMenuBar>
#include <QMessageBox>
#include <QVBoxLayout>

#ifndef QUILLET_VERSION
#define QUILLET_VERSION "0.0.0"
#endif

MainWindow::MainWindow(AppModel& model, Preferences& preferences, QWidget* parent)
    : QMainWindow(parent), m_model(model), m_preferences(preferences)
{
    setObjectName(QStringLiteral("main"));
    setWindowTitle(QStringLiteral("Quillet"));
    setWindowIcon(appIcon());
    m_content = new ContentView(model, this);
    setCentralWidget(m_content);
    buildMenu();
    m_themePalette = QApplication::palette();
    connect(&model.appearance(), &Appearance::appearanceChanged, this,
            &MainWindow::followAppearance);
    followAppearance();
    // A fixed panel: the window is exactly as large as its content and follows it when banners
    // come and go.
    layout()->setSizeConstraint(QLayout::SetFixedSize);
}

MainWindow::~MainWindow()
{
    if (m_darkened)
        QApplication::setPalette(m_themePalette);
}

void MainWindow::followAppearance()
{
    // The desktop's setting wins (the Xfce theme name, the portal's colour scheme), as GTK
    // programs follow it; a theme that is already dark is left alone.
    const bool dark = m_model.appearance().isDark();
    if (dark && !m_darkened && !Look::isDark(m_themePalette)) {
        QApplication::setPalette(Look::darkPalette(m_themePalette));
        m_darkened = true;
    } else if (!dark && m_darkened) {
        QApplication::setPalette(m_themePalette);
        m_darkened = false;
    }
}

void MainWindow::buildMenu()
{
    m_appMenu = menuBar()->addMenu(QStringLiteral("Quillet"));
    m_appMenu->addAction(QStringLiteral("About Quillet"), this, [this] {
        QMessageBox::about(this, QStringLiteral("About Quillet"),
                           QStringLiteral("<b>Quillet</b> %1<br>Makes the screen presentable for "
                                          "screenshots, recordings and demos, and puts "
                                          "everything back afterwards.")
                               .arg(QStringLiteral(QUILLET_VERSION)));
    });
    QAction* updates =
        m_appMenu->addAction(QStringLiteral("Check for Updates\u2026"), this,
                             [this] { UpdaterController::shared().checkForUpdates(this); });
    updates->setIcon(QIcon::fromTheme(QStringLiteral("view-refresh")));
    m_appMenu->addSeparator();
    QAction* settings =
        m_appMenu->addAction(QStringLiteral("Settings\u2026"), this, &MainWindow::openSettings);
    settings->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma));
    m_appMenu->addSeparator();
    QAction* quit =
        m_appMenu->addAction(QStringLiteral("Quit Quillet"), qApp, &QCoreApplication::quit);
    quit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    quit->setShortcutContext(Qt::ApplicationShortcut);
}

QWidget* MainWindow::settingsWindow()
{
    if (!m_settings) {
        // A top-level window of its own, not a child dialog: it stays when the main window closes.
        auto* window = new QWidget(nullptr, Qt::Window);
        window->setAttribute(Qt::WA_QuitOnClose, false);
        window->setObjectName(QStringLiteral("settings"));
        window->setWindowTitle(QStringLiteral("Quillet Settings"));
        window->setWindowIcon(appIcon());
        auto* layout = new QVBoxLayout(window);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(new PreferencesView(m_preferences, window));
        layout->setSizeConstraint(QLayout::SetFixedSize);
        connect(this, &QObject::destroyed, window, &QObject::deleteLater);
        // Shown before it is mapped, so its desktop hints are in place when it appears.
        window->installEventFilter(this);
        m_settings = window;
    }
    return m_settings;
}

void MainWindow::openSettings()
{
    QWidget* window = settingsWindow();
    window->show();
    window->raise();
    window->activateWindow();
}

void MainWindow::reopen()
{
    if (isMinimized())
        showNormal();
    else
        show();
    raise();
    activateWindow();
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_settings && event->type() == QEvent::Show)
        emit settingsShown();
    return QMainWindow::eventFilter(watched, event);
}

void MainWindow::showEvent(QShowEvent* event)
{
    QMainWindow::showEvent(event);
    emit windowShown();
}
