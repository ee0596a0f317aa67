// The program's X connection, shared with Qt; null when Qt runs on another platform.
#pragma once

#include <xcb/xcb.h>

namespace X11 {
xcb_connection_t* connection();
xcb_window_t rootWindow();
// Interns an atom once per name and caches it.
xcb_atom_t atom(const char* name);
} // namespace X11
