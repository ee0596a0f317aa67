// What the X server lets us do: read the screen, and find an EWMH window manager.
#pragma once

namespace X11 {
// GetImage on the root window succeeds.
bool canReadRootWindow();
// A window manager announces itself through _NET_SUPPORTING_WM_CHECK.
bool hasEwmhWindowManager();
} // namespace X11
