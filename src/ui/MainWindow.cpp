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
#include <QCloseEvent>
#include <QMenuBar>
#include <QMessageBox>
#include <QScreen>
#include <QVBoxLayout>

#ifndef QUILLET_VERSION
#define QUILLET_VERSION "0.0.0"
#endif

MainWindow::MainWindow(AppModel& model, Preferences& preferences, QWidget* parent)
    : QMainWindow(parent), m_model(model), m_preferences(preferences)
{
    setObjectName(QStringLiteral("main"));
    setWindowTitle(tr("Quillet"));
    // Searching the icon theme takes longer than drawing: the window opens with our drawing and
    // takes the theme's icons (an icon theme may restyle ours) once it has been painted.
    setWindowIcon(drawnAppIcon());
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

    // A smaller mode can leave the window partly off its monitor, with "Restore Original" out
    // of reach: once the monitors have settled, the window is moved back onto its monitor.
    m_screenCheck.setSingleShot(true);
    m_screenCheck.setInterval(50);
    connect(&m_screenCheck, &QTimer::timeout, this, &MainWindow::keepWindowsOnScreen);
    for (QScreen* screen : QGuiApplication::screens())
        watchScreen(screen);
    connect(qApp, &QGuiApplication::screenAdded, this, &MainWindow::watchScreen);
    connect(qApp, &QGuiApplication::screenRemoved, &m_screenCheck, qOverload<>(&QTimer::start));
    installEventFilter(this);
}

void MainWindow::watchScreen(QScreen* screen)
{
    connect(screen, &QScreen::geometryChanged, &m_screenCheck, qOverload<>(&QTimer::start));
    connect(screen, &QScreen::availableGeometryChanged, &m_screenCheck,
            qOverload<>(&QTimer::start));
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == this && event->type() == QEvent::Paint && !m_themeIconAsked) {
        m_themeIconAsked = true;
        QTimer::singleShot(0, this, [this] {
            setWindowIcon(appIcon());
            m_updatesAction->setIcon(QIcon::fromTheme(QStringLiteral("view-refresh")));
            Look::releaseThemeSymbols();
            emit firstPainted();
        });
    }
    // Shown before it is mapped, so its desktop hints are in place when it appears.
    if (watched == m_settings && event->type() == QEvent::Show)
        emit settingsShown();
    if ((event->type() == QEvent::Move || event->type() == QEvent::Show) &&
        !m_screenCheck.isActive()) {
        auto* window = static_cast<QWidget*>(watched);
        if (const QScreen* screen = QGuiApplication::screenAt(window->frameGeometry().center()))
            m_homeScreens.insert(window, screen->name());
    }
    return QMainWindow::eventFilter(watched, event);
}

QPoint MainWindow::keptInside(const QRect& frame, const QRect& area)
{
    const auto place = [](int start, int length, int areaStart, int areaLength) {
        return std::max(areaStart, std::min(start, areaStart + areaLength - length));
    };
    return QPoint(place(frame.x(), frame.width(), area.x(), area.width()),
                  place(frame.y(), frame.height(), area.y(), area.height()));
}

void MainWindow::keepWindowsOnScreen()
{
    for (QWidget* window : {static_cast<QWidget*>(this), static_cast<QWidget*>(m_settings)}) {
        if (!window || !window->isVisible() || window->isMinimized())
            continue;
        const QRect frame = window->frameGeometry();
        QScreen* home = nullptr;
        const QString name = m_homeScreens.value(window);
        for (QScreen* screen : QGuiApplication::screens()) {
            if (screen->name() == name)
                home = screen;
        }
        if (!home)
            home = QGuiApplication::screenAt(frame.center());
        if (!home)
            home = QGuiApplication::primaryScreen();
        if (!home)
            continue;
        // Below the panels; a window taller than what is left keeps its title bar and top
        // rows (the resolution card with "Restore Original") on screen.
        const QPoint to = keptInside(frame, home->availableGeometry());
        if (to != frame.topLeft())
            window->move(to);
    }
}

MainWindow::~MainWindow()
{
    if (m_darkened)
        QApplication::setPalette(m_themePalette);
}

void MainWindow::followAppearance()
{
    // The desktop's setting wins (the Xfce theme name, the portal's colour scheme), as GTK
    // programs follow it. The theme name is known at once, so the window opens in the right
    // colours on most desktops; the full answer may need a bus call and a child process, and
    // arrives without holding the window up.
    showDark(m_model.appearance().quickGuessDark());
    const quint64 asked = ++m_appearanceQuestions;
    m_model.appearance().queryDark(this, [this, asked](bool dark) {
        // Only the answer to the latest question counts.
        if (asked == m_appearanceQuestions)
            showDark(dark);
    });
}

void MainWindow::showDark(bool dark)
{
    // A theme that is already dark is left alone.
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
    m_appMenu = menuBar()->addMenu(tr("&Quillet"));
    m_appMenu->addAction(tr("&About Quillet"), this, [this] {
        QMessageBox::about(this, tr("About Quillet"),
                           tr("<b>Quillet</b> %1<br>Makes the screen presentable for "
                              "screenshots, recordings and demos, and puts "
                              "everything back afterwards.")
                               .arg(QStringLiteral(QUILLET_VERSION)));
    });
    // Its theme icon comes with the others', once the window has been painted.
    m_updatesAction = m_appMenu->addAction(tr("Check for &Updates\u2026"), this, [this] {
        UpdaterController::shared().checkForUpdates(this);
    });
    m_appMenu->addSeparator();
    QAction* settings =
        m_appMenu->addAction(tr("&Settings\u2026"), this, &MainWindow::openSettings);
    settings->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma));
    m_appMenu->addSeparator();
    QAction* quit = m_appMenu->addAction(tr("&Quit Quillet"), qApp, &QCoreApplication::quit);
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
        window->setWindowTitle(tr("Quillet Settings"));
        window->setWindowIcon(appIcon());
        auto* layout = new QVBoxLayout(window);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(new PreferencesView(m_preferences, window));
        layout->setSizeConstraint(QLayout::SetFixedSize);
        connect(this, &QObject::destroyed, window, &QObject::deleteLater);
        // Watched for the monitor it is on and for its desktop hints.
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

void MainWindow::showEvent(QShowEvent* event)
{
    QMainWindow::showEvent(event);
    emit windowShown();
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    QMainWindow::closeEvent(event);
    if (event->isAccepted())
        emit closed();
}
