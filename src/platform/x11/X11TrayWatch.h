// Notices when the panel's tray changes under the cover: an XEmbed icon docks (it is
// reparented from the root into the tray) or goes (its window is unmapped or destroyed), a
// StatusNotifierItem registers or leaves, or the tray gets a new owner (the panel restarted).
// It listens on an X connection of its own and to D-Bus signals, so nothing waits on a reply.
#pragma once

#include <QHash>
#include <QList>
#include <QObject>
#include <QRect>
#include <QTimer>
#include <xcb/xcb.h>

class QSocketNotifier;

class X11TrayWatch final : public QObject {
    Q_OBJECT
public:
    X11TrayWatch();
    ~X11TrayWatch() override;

    // The icon windows to watch for leaving (the last scan's XEmbed icons) and the panel
    // windows (a panel that goes or changes size).
    void watchWindows(const QList<quint32>& windows);

signals:
    // Once the tray has stopped changing for a moment: a new panel has painted by then.
    void changed();

private slots:
    void statusItemsChanged();

private:
    void readEvents();
    void noteChange();
    void followTrayOwner();

    xcb_connection_t* m_connection = nullptr;
    QSocketNotifier* m_notifier = nullptr;
    xcb_window_t m_root = XCB_WINDOW_NONE;
    xcb_atom_t m_traySelection = XCB_ATOM_NONE;
    quint32 m_hostBase = 0;
    quint8 m_xfixesEventBase = 0;
    // The watched windows and where they were last seen within their parents; a configure
    // event that only restacks a window (the window manager does so as windows come and go)
    // changes nothing in the tray.
    QHash<quint32, QRect> m_watched;
    QTimer m_settle;
};
