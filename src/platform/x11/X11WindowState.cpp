// _NET_WM_STATE: the property before mapping, client messages to the root window after.
#include "X11WindowState.h"

#include "X11Connection.h"
#include "X11Replies.h"

#include <QWindow>
#include <vector>

namespace X11 {

void setSkipTaskbar(QWindow* window, bool skip)
{
    xcb_connection_t* c = connection();
    if (!c || !window)
        return;
    const auto id = static_cast<xcb_window_t>(window->winId());
    const xcb_atom_t state = atom("_NET_WM_STATE");
    const xcb_atom_t skipTaskbar = atom("_NET_WM_STATE_SKIP_TASKBAR");
    const xcb_atom_t skipPager = atom("_NET_WM_STATE_SKIP_PAGER");

    if (!window->isVisible()) {
        // Unmapped: the window manager reads the property when the window is mapped.
        const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
            c, xcb_get_property(c, 0, id, state, XCB_ATOM_ATOM, 0, 64), nullptr));
        std::vector<xcb_atom_t> atoms;
        for (const quint32 atom : cardinals(reply.get())) {
            if (atom != skipTaskbar && atom != skipPager)
                atoms.push_back(atom);
        }
        if (skip) {
            atoms.push_back(skipTaskbar);
            atoms.push_back(skipPager);
        }
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, id, state, XCB_ATOM_ATOM, 32,
                            uint32_t(atoms.size()), atoms.data());
        xcb_flush(c);
        return;
    }
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = id;
    event.type = state;
    event.data.data32[0] = skip ? 1 : 0; // _NET_WM_STATE_ADD / _REMOVE
    event.data.data32[1] = skipTaskbar;
    event.data.data32[2] = skipPager;
    event.data.data32[3] = 1; // source: a normal application
    xcb_send_event(c, 0, rootWindow(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&event));
    xcb_flush(c);
}

} // namespace X11
