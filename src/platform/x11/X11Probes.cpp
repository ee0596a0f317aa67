// Capability probes on the X connection.
#include "X11Probes.h"

#include "X11Connection.h"

#include <cstdlib>

namespace X11 {

namespace {
xcb_window_t supportingCheckWindow(xcb_connection_t* c, xcb_window_t window)
{
    const xcb_atom_t check = atom("_NET_SUPPORTING_WM_CHECK");
    xcb_get_property_reply_t* reply = xcb_get_property_reply(
        c, xcb_get_property(c, 0, window, check, XCB_ATOM_WINDOW, 0, 1), nullptr);
    xcb_window_t result = XCB_WINDOW_NONE;
    if (reply && reply->type == XCB_ATOM_WINDOW && xcb_get_property_value_length(reply) >= 4)
        result = *static_cast<xcb_window_t*>(xcb_get_property_value(reply));
    std::free(reply);
    return result;
}
} // namespace

bool canReadRootWindow()
{
    xcb_connection_t* c = connection();
    if (!c)
        return false;
    xcb_get_image_reply_t* reply = xcb_get_image_reply(
        c, xcb_get_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, rootWindow(), 0, 0, 1, 1, ~0u), nullptr);
    const bool ok = reply != nullptr;
    std::free(reply);
    return ok;
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
