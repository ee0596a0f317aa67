// The desktop program of the session, as the X server shows it: a window of type
// _NET_WM_WINDOW_TYPE_DESKTOP that covers the screen and draws the desktop itself (xfdesktop,
// caja, pcmanfm, nemo). Where one runs, the root window's own background is hidden under it and
// belongs to that program.
#pragma once

#include <QRect>
#include <QString>
#include <optional>
#include <xcb/xcb.h>

namespace X11 {

struct DesktopProgram {
    xcb_window_t window = XCB_WINDOW_NONE;
    qint64 pid = 0;
    // The process name ("caja"), else the WM_CLASS class; empty when neither is known.
    QString name;
    // The window's rectangle in root coordinates.
    QRect rect;
};

// The viewable desktop window that covers most of `area` (root coordinates); none when the
// root shows there.
std::optional<DesktopProgram> desktopProgramCovering(xcb_connection_t* c, xcb_window_t root,
                                                     const QRect& area);
// The same for the whole root window.
std::optional<DesktopProgram> desktopProgram(xcb_connection_t* c, xcb_window_t root);

// Whether the client that created `resource` still has windows, that is, still runs. A pixmap
// left behind by a setter that closed its connection (RetainPermanent) has an owner without
// windows; a desktop program's own pixmap has an owner that is drawing with it.
bool ownerIsRunning(xcb_connection_t* c, xcb_window_t root, quint32 resource);

} // namespace X11
