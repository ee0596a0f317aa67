// What the application shell offers to the preferences: taskbar presence, bringing the main
// window to the front, and the tray icon.
#pragma once

class ShellHooks {
public:
    virtual ~ShellHooks() = default;
    // Shown: an ordinary window in the taskbar and pager; hidden: skip-taskbar and skip-pager.
    virtual void setTaskbarPresence(bool shown) = 0;
    // Raise and activate the main window.
    virtual void bringToFront() = 0;
    virtual void setStatusItemVisible(bool visible) = 0;
};
