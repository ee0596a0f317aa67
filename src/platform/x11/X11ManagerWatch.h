// Watches the owners of the window-manager and compositing-manager selections of the screen
// (WM_S0, _NET_WM_CM_S0) through XFixes, and reports a new owner.
#pragma once

#include "platform/WindowManagerWatch.h"

#include <QAbstractNativeEventFilter>
#include <QTimer>
#include <xcb/xcb.h>

class X11ManagerWatch final : public WindowManagerWatch, public QAbstractNativeEventFilter {
    Q_OBJECT
public:
    X11ManagerWatch();
    ~X11ManagerWatch() override;

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    quint8 m_xfixesEventBase = 0;
    xcb_atom_t m_wmSelection = XCB_ATOM_NONE;
    xcb_atom_t m_cmSelection = XCB_ATOM_NONE;
    // A replacement changes both owners in quick succession; one report follows the last.
    QTimer m_settle;
};
