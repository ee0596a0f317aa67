// EWMH state of our own windows.
#pragma once

class QWindow;

namespace X11 {
// Skip-taskbar and skip-pager on or off; works before and after the window is mapped.
void setSkipTaskbar(QWindow* window, bool skip);
} // namespace X11
