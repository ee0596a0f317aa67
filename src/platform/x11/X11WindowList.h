// The window list of the X server: tray icons, then the managed windows front to back; and the
// panel scan, which adds the tray items the panel draws itself and the items' names.
#pragma once

#include "X11TrayWatch.h"
#include "platform/PanelScan.h"
#include "platform/WindowList.h"

#include <QThreadPool>
#include <atomic>
#include <memory>

class X11WindowList final : public WindowList {
public:
    // Asks the X server only: the tray icons that are windows of their own and the managed
    // windows (panels included), so it is quick enough for the UI thread.
    QList<WindowListEntry> onScreenWindows() const override;

    // `drawnByPanel` adds the status items and the panel's own plugins (asked over D-Bus, so
    // it may take long), `withTexts` the names the items publish. Our own process is never
    // asked. Safe on any thread while the UI thread uses the window list.
    static PanelSnapshot snapshot(bool drawnByPanel, bool withTexts);
};

// Runs the snapshot with everything on a thread of its own and reports on the UI thread; tells
// when the tray changes.
class X11PanelScan final : public PanelScan {
public:
    X11PanelScan();
    ~X11PanelScan() override;
    void start(bool withNames) override;
    bool isScanning() const override { return m_running; }

private:
    static PanelSnapshot snapshotForScan(bool withNames);

    X11TrayWatch m_watch;
    QThreadPool m_pool;
    bool m_running = false;
    bool m_again = false;
    bool m_againWithNames = false;
    std::shared_ptr<std::atomic<bool>> m_alive = std::make_shared<std::atomic<bool>>(true);
};
