// The icons of the notification area that owns _NET_SYSTEM_TRAY_S<n>: XEmbed icon windows and
// the StatusNotifierItem icons the tray host draws itself.
#pragma once

#include <QDeadlineTimer>
#include <QList>
#include <QRect>
#include <QString>
#include <chrono>
#include <optional>
#include <xcb/xcb.h>

struct TrayIcon {
    // The icon's X window, or a synthetic id (top bit set) for an icon without a window.
    quint32 number = 0;
    QRect rootRect;
    qint64 pid = 0;
    std::optional<QString> ownerName;
    std::optional<QString> windowName;
    // What the icon's application publishes about it: a status item's tooltip title, and its
    // title or the icon window's name. Empty when unknown or not asked for.
    QString description;
    QString title;
};

struct TrayScan {
    QList<TrayIcon> icons;
    // Where the panel holding the tray shows only its background, root coordinates.
    QList<QRect> emptyStretches;
    // The tray host's process (0 when unknown).
    qint64 hostPid = 0;
    // The host keeps icons out of sight and shows them as buttons of its own (lxqt-panel), and
    // did not tell where those are (its accessibility tree is not published).
    bool hostedIconsUnplaced = false;
};

namespace X11TrayIcons {
// XEmbed icons in the tree's order, then status item icons left to right; status items' titles
// and tooltips only `withTexts`. Each X batch and each D-Bus call waits at most `perRequest`.
QList<TrayIcon> find(xcb_connection_t* c, bool withTexts, std::chrono::milliseconds perRequest);
// The same with the panel's empty stretches; without `drawnByPanel` only the XEmbed icon
// windows, which the X server alone tells (no other process is asked).
TrayScan scan(xcb_connection_t* c, bool drawnByPanel, bool withTexts,
              std::chrono::milliseconds perRequest);
} // namespace X11TrayIcons
