// How code outside the window brings the main window back: the opener installed by the shell.
#pragma once

#include <functional>

class WindowAccess final {
public:
    static WindowAccess& shared();
    // Raises and activates the main window, reopening it if it was closed; empty until the
    // main window exists.
    std::function<void()> opener;
};
