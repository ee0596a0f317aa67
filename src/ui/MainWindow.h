// The main window: "Quillet", object name "main", with the application menu.
#pragma once

#include <QHash>
#include <QMainWindow>
#include <QPalette>
#include <QPointer>
#include <QTimer>

class AppModel;
class ContentView;
class Preferences;
class QAction;
class QMenu;
class QScreen;

class MainWindow final : public QMainWindow {
    Q_OBJECT
public:
    MainWindow(AppModel& model, Preferences& preferences, QWidget* parent = nullptr);
    ~MainWindow() override;

    // Brings the window forward, reopening it if it was closed.
    void reopen();
    // The settings window, created on first use.
    QWidget* settingsWindow();
    // The settings window if it was ever opened, else null.
    QWidget* existingSettingsWindow() const { return m_settings; }
    void openSettings();
    QMenu* applicationMenu() const { return m_appMenu; }
    ContentView* content() const { return m_content; }

    // Where `frame` (a window's outer frame) goes to lie fully inside `area`; a frame larger
    // than the area keeps its top-left corner in it.
    static QPoint keptInside(const QRect& frame, const QRect& area);

signals:
    // Emitted when the native window exists or is recreated, so its desktop hints can be set.
    void windowShown();
    // The same for the settings window, which follows the main window's taskbar presence.
    void settingsShown();
    // Emitted after the user closed the window (its close button, Alt+F4, the window menu).
    void closed();
    // Emitted once, just after the window's first paint: work that the first look does not need
    // (the theme's icons, lists that take a while to read) starts here.
    void firstPainted();

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildMenu();
    // Gives the program's windows the desktop's light or dark appearance.
    void followAppearance();
    void showDark(bool dark);
    void watchScreen(QScreen* screen);
    // After a change of the monitors: moves this window and the settings window fully onto the
    // monitor each of them was on.
    void keepWindowsOnScreen();

    // The monitor each window was last seen on, by name.
    QHash<QWidget*, QString> m_homeScreens;
    QTimer m_screenCheck;

    AppModel& m_model;
    Preferences& m_preferences;
    QMenu* m_appMenu = nullptr;
    QAction* m_updatesAction = nullptr;
    ContentView* m_content = nullptr;
    QPointer<QWidget> m_settings;
    // The theme's own palette, put back when the desktop turns light again.
    QPalette m_themePalette;
    bool m_darkened = false;
    quint64 m_appearanceQuestions = 0;
    bool m_themeIconAsked = false;
};
