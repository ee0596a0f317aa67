// The main window: "Quillet", object name "main", with the application menu.
#pragma once

#include <QMainWindow>
#include <QPointer>

class AppModel;
class ContentView;
class Preferences;
class QMenu;

class MainWindow final : public QMainWindow {
    Q_OBJECT
public:
    MainWindow(AppModel& model, Preferences& preferences, QWidget* parent = nullptr);

    // Brings the window forward, reopening it if it was closed.
    void reopen();
    // The settings window, created on first use.
    QWidget* settingsWindow();
    void openSettings();
    QMenu* applicationMenu() const { return m_appMenu; }
    ContentView* content() const { return m_content; }

signals:
    // Emitted when the native window exists or is recreated, so its desktop hints can be set.
    void windowShown();
    // Emitted after the user closed the window (its close button, Alt+F4, the window menu).
    void closed();

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void buildMenu();

    AppModel& m_model;
    Preferences& m_preferences;
    QMenu* m_appMenu = nullptr;
    ContentView* m_content = nullptr;
    QPointer<QWidget> m_settings;
};
