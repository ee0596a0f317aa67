// The application shell: start-up order, single instance, the tray icon, taskbar presence,
// and the quit sequence that puts the desktop back.
#pragma once

#include "core/ShellHooks.h"

#include <QDeadlineTimer>
#include <QObject>
#include <functional>
#include <memory>

class DBusService;
class MainWindow;
class MaskWindowPresenter;
class Platform;
class Preferences;
class SingleInstance;
class QSocketNotifier;
class RemoteControl;

class QuilletApp final : public QObject, public ShellHooks {
    Q_OBJECT
public:
    explicit QuilletApp(QObject* parent = nullptr);
    ~QuilletApp() override;

    // False when another instance runs: it was asked to reopen its window and this process
    // should exit with `exitStatus` (not 0 when it could not be reached).
    bool becomeTheRunningInstance(int& exitStatus);
    // Builds the windows and runs the launch sequence; the main window stays closed when
    // `showWindow` is false (an instance started by a command).
    void start(bool showWindow = true);

    // ShellHooks
    void setTaskbarPresence(bool shown) override;
    void bringToFront() override;
    void setStatusItemVisible(bool visible) override;

private:
    void installSignalHandlers();
    // The command line's requests and the D-Bus service.
    void startRemoteControl();
    // Raises and activates the main window, reopening it if it was closed.
    void reopenMainWindow();
    // Puts back display modes, desktop icons, desktop pictures and masks; runs once.
    void restoreDesktop();
    // Runs the event loop until `done` holds or the deadline has passed.
    static void waitUntil(const std::function<bool()>& done, const QDeadlineTimer& deadline);

    std::unique_ptr<Platform> m_platform;
    std::unique_ptr<Preferences> m_preferences;
    std::unique_ptr<MainWindow> m_mainWindow;
    std::unique_ptr<MaskWindowPresenter> m_masks;
    SingleInstance* m_instance = nullptr;
    RemoteControl* m_remote = nullptr;
    DBusService* m_dbus = nullptr;
    QSocketNotifier* m_signalNotifier = nullptr;
    bool m_showInTaskbar = true;
    bool m_restored = false;
};
