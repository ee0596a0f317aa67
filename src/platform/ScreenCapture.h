// Reading the screen's pixels, and whether the system allows it. The captures, the access
// questions and releaseBuffers run on a thread of their own, one after another;
// capturesBelowOwnWindows is asked on the UI thread while a capture may be under way.
#pragma once

#include "PermissionGap.h"

#include <QImage>

class ScreenCapture {
public:
    virtual ~ScreenCapture() = default;
    virtual bool canCaptureScreen() const = 0;
    // Asks for access where the system can grant it; true when capturing is possible now.
    virtual bool requestCaptureAccess() = 0;
    // What stands in the way of capturing, none when it is possible.
    virtual PermissionGap captureGap() const
    {
        return canCaptureScreen() ? PermissionGap::none : PermissionGap::screenReadRefused;
    }
    // The display's image in device pixels, row 0 at the top; null on failure. It may hold
    // only the top rows, where the panels are, and is never shorter than the panels.
    virtual QImage captureDisplay(quint32 displayId) = 0;
    // Whether the panels are captured as they are even under the program's own windows (the
    // masks), so these need not come down first. Answered without waiting on anything.
    virtual bool capturesBelowOwnWindows() const { return false; }
    // Gives back the memory kept for the next capture (nothing is captured while no cover is
    // on).
    virtual void releaseBuffers() {}
};
