// The application shell: start-up order, single instance, the tray icon, taskbar presence,
// and the quit sequence that puts the desktop back.
#pragma once

#include "core/ShellHooks.h"

#include <QObject>
#include <functional>
#include <memory>

class MainWindow;
class MaskWindowPresenter;
class Platform;
class SingleInstance;
class QSocketNotifier;

class QuilletApp final : public QObject, public ShellHooks {
    Q_OBJECT
public:
    explicit QuilletApp(QObject* parent = nullptr);
    ~QuilletApp() override;

    // False when another instance runs: it was asked to reopen its window and we should exit.
    bool becomeTheRunningInstance();
    // Builds the windows and runs the launch sequence.
    void start();

    // ShellHooks
    void setTaskbarPresence(bool shown) override;
    void bringToFront() override;
    void setStatusItemVisible(bool visible) override;

private:
    void installSignalHandlers();
    // Puts back display modes, desktop icons, desktop pictures and masks; runs once.
    void restoreDesktop();
    // Runs the event loop until `done` holds or a few seconds have passed.
    static void waitBriefly(const std::function<bool()>& done);

    std::unique_ptr<Platform> m_platform;
    std::unique_ptr<MainWindow> m_mainWindow;
    std::unique_ptr<MaskWindowPresenter> m_masks;
    SingleInstance* m_instance = nullptr;
    QSocketNotifier* m_signalNotifier = nullptr;
    bool m_showInTaskbar = true;
    bool m_restored = false;
};
