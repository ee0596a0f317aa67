// StatusNotifierItem icons that the panel's notification area draws itself, found through the
// accessibility tree of the tray's plug window and matched to the items registered with the
// panel's StatusNotifierWatcher.
#pragma once

#include <QByteArray>
#include <QDeadlineTimer>
#include <QList>
#include <QRect>
#include <QString>
#include <chrono>

struct StatusIcon {
    // Synthetic: derived from the icon's accessible object, the same while the icon lives. The
    // top bit is set, which X window ids never have.
    quint32 id = 0;
    QRect rootRect;
    // The item's process (0 when unknown) and what the item publishes; empty when the icon
    // could not be matched to an item.
    qint64 pid = 0;
    QString title;
    QString toolTipTitle;
    // For an item the panel's own process registered (lxqt-panel's stand-in for an XEmbed
    // icon): its place among those, in the order they registered; -1 for any other item.
    int hostedPlace = -1;
};

namespace PanelStatusItems {
// `accessibleRoots` are "bus:path" pairs published by the tray host (_XEMBED_AT_SPI_PATH).
// The items' titles and tooltips are asked for only `withTexts`; our own item is never asked. Every
// D-Bus call waits at most `perCall`; the whole search gives up at `deadline`.
QList<StatusIcon> find(const QList<QByteArray>& accessibleRoots, bool withTexts,
                       std::chrono::milliseconds perCall, const QDeadlineTimer& deadline);

// The status items that the panel process `panelPid` draws as buttons of its own (lxqt-panel),
// left to right, as its accessibility tree shows them; matched to the watcher's items by their
// order when the counts agree (and the tooltips, where the buttons tell them). Empty while the
// panel publishes no accessibility tree.
QList<StatusIcon> findInPanel(qint64 panelPid, bool withTexts, std::chrono::milliseconds perCall,
                              const QDeadlineTimer& deadline);

struct PanelLayout {
    // The panel's own plugins right of the notification area, left to right: the clock and
    // whatever else stands there. Each has the panel's process and, for its title, the
    // plugin's name where the panel's settings give one.
    QList<StatusIcon> extras;
    // Plugins that show nothing but the panel's background (separators, expanding gaps), root
    // coordinates.
    QList<QRect> emptyStretches;
};

// The panel that holds the notification area `trayArea` (root coordinates), as its
// accessibility tree shows it: xfce4-panel, or the panel process `panelPid` when not 0. Our own
// process is never asked.
PanelLayout panelLayout(const QRect& trayArea, qint64 panelPid, std::chrono::milliseconds perCall,
                        const QDeadlineTimer& deadline);
} // namespace PanelStatusItems
