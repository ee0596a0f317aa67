// The main window: "Quillet", object name "main".
#pragma once

#include <QMainWindow>

class AppModel;

class MainWindow final : public QMainWindow {
    Q_OBJECT
public:
    explicit MainWindow(AppModel& model, QWidget* parent = nullptr);

    // Off: skip-taskbar and skip-pager; on: an ordinary window.
    void setTaskbarPresence(bool shown);

private:
    AppModel& m_model;
};
