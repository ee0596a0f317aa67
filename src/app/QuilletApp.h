// The application shell: start-up order, the quit sequence that puts the desktop back, and
// quitting cleanly on termination signals.
#pragma once

#include "core/ShellHooks.h"

#include <QObject>
#include <memory>

class MainWindow;
class Platform;
class QSocketNotifier;

class QuilletApp final : public QObject, public ShellHooks {
    Q_OBJECT
public:
    explicit QuilletApp(QObject* parent = nullptr);
    ~QuilletApp() override;

    // Builds the window and runs the launch sequence; call once the event loop can start.
    void start();

    // ShellHooks
    void setTaskbarPresence(bool shown) override;
    void bringToFront() override;
    void setStatusItemVisible(bool visible) override;

private:
    void installSignalHandlers();
    // Puts back display modes, desktop icons, desktop pictures and masks; runs once.
    void restoreDesktop();

    std::unique_ptr<Platform> m_platform;
    std::unique_ptr<MainWindow> m_mainWindow;
    QSocketNotifier* m_signalNotifier = nullptr;
    bool m_restored = false;
};
