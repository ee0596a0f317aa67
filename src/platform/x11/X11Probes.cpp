// Capability probes on the X connection.
#include "X11Probes.h"

#include "X11Connection.h"
#include "X11Replies.h"

namespace X11 {

namespace {
xcb_window_t supportingCheckWindow(xcb_connection_t* c, xcb_window_t window)
{
    const xcb_atom_t check = atom("_NET_SUPPORTING_WM_CHECK");
    const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        c, xcb_get_property(c, 0, window, check, XCB_ATOM_WINDOW, 0, 1), nullptr));
    if (!reply || reply->type != XCB_ATOM_WINDOW)
        return XCB_WINDOW_NONE;
    const QList<quint32> ids = cardinals(reply.get());
    return ids.isEmpty() ? xcb_window_t(XCB_WINDOW_NONE) : ids.constFirst();
}
} // namespace

bool canReadRootWindow()
{
    xcb_connection_t* c = connection();
    if (!c)
        return false;
    const Reply<xcb_get_image_reply_t> reply(xcb_get_image_reply(
        c, xcb_get_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, rootWindow(), 0, 0, 1, 1, ~0u), nullptr));
    return reply != nullptr;
}

bool hasEwmhWindowManager()
{
    xcb_connection_t* c = connection();
    if (!c)
        return false;
    const xcb_window_t child = supportingCheckWindow(c, rootWindow());
    // A stale property from a window manager that is gone points to a window without it.
    return child != XCB_WINDOW_NONE && supportingCheckWindow(c, child) == child;
}

} // namespace X11
