// One look at the top panels: their windows and tray items, with the names the items'
// applications publish. The look may take long (other processes are asked over D-Bus), so it
// runs without holding up the caller and reports when it is done.
#pragma once

#include "ItemNames.h"
#include "WindowList.h"

#include <QList>
#include <QObject>
#include <QRectF>

struct PanelSnapshot {
    // Front to back, as the window list reports them, tray items included.
    QList<WindowListEntry> windows;
    // The tray elements' names; empty unless names were asked for.
    QList<NamedTrayElement> names;
    // Stretches of the panels where nothing but the panel's own background shows, global
    // top-left points; empty when the panel does not tell.
    QList<QRectF> emptyStretches;
    // Why chosen tray items cannot be covered on this panel, in a few words for the user
    // ("lxqt-panel draws its tray icons itself and ..."); empty where they can.
    QString itemsGap;
};

class PanelScan : public QObject {
    Q_OBJECT
public:
    // Starts a scan; `scanned` follows on this object's thread with a result that was taken
    // after this call. Calls while a scan runs are folded into one more scan.
    virtual void start(bool withNames) = 0;
    // Whether a scan runs now (its result still to come).
    virtual bool isScanning() const { return false; }

signals:
    void scanned(const PanelSnapshot& snapshot);
    // The panel or its tray changed and has settled: an icon came or went, the panel restarted
    // or changed size.
    void panelChanged();
};

// For window lists and namers that answer at once (the degraded platform, tests): the scan
// runs inside start().
class InlinePanelScan final : public PanelScan {
public:
    InlinePanelScan(const WindowList& windows, const ItemNames& names)
        : m_windows(windows), m_names(names)
    {
    }
    void start(bool withNames) override
    {
        PanelSnapshot snapshot;
        snapshot.windows = m_windows.onScreenWindows();
        if (withNames)
            snapshot.names = m_names.trayElements();
        emit scanned(snapshot);
    }

private:
    const WindowList& m_windows;
    const ItemNames& m_names;
};
