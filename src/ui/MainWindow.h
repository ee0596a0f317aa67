// The main window: "Quillet", object name "main", with the application menu.
#pragma once

#include <QMainWindow>
#include <QPalette>
#include <QPointer>

class AppModel;
class ContentView;
class Preferences;
class QMenu;

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

signals:
    // Emitted when the native window exists or is recreated, so its desktop hints can be set.
    void windowShown();
    // The same for the settings window, which follows the main window's taskbar presence.
    void settingsShown();

protected:
    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildMenu();
    // Gives the program's windows the desktop's light or dark appearance.
    void followAppearance();

    AppModel& m_model;
    Preferences& m_preferences;
    QMenu* m_appMenu = nullptr;
    ContentView* m_content = nullptr;
    QPointer<QWidget> m_settings;
    // The theme's own palette, put back when the desktop turns light again.
    QPalette m_themePalette;
    bool m_darkened = false;
};
