// The desktop picture of each monitor, and the exact record of what the user's desktop showed
// before the program first changed it.
#pragma once

#include "Screens.h"

#include <QImage>
#include <QString>
#include <optional>

// What putting one monitor back came to.
enum class PictureRestore {
    // Everything remembered for the monitor is back, and its record is gone.
    restored,
    // Something could not be set back: the record is kept for a later attempt.
    failed,
    // This backend holds no record for the monitor.
    nothingHeld,
};

// Each backend keeps its own record of what every monitor showed (a desktop program's settings,
// or the root window's picture) in a file of its own, written before the first change, so that a
// later run of the program can still put it back after a crash. A record is dropped only after
// the restore it describes has happened.
class DesktopPictures {
public:
    virtual ~DesktopPictures() = default;

    // The file the monitor shows now, when the desktop keeps a readable path for it.
    virtual std::optional<QString> desktopPicture(const ScreenInfo& screen) const = 0;
    // The monitor's part of the picture drawn now (what the user sees, whatever the picture's
    // style or colours); null when nothing can be read.
    virtual QImage snapshotDesktopPicture(const ScreenInfo& screen) = 0;

    // Remembers exactly what the monitor shows now, unless a record of it is already held (one
    // left by a crashed run included, which describes the user's desktop better than the screen
    // does). The record is on disk before this returns; false when it could not be made.
    virtual bool rememberDesktop(const ScreenInfo& screen) = 0;
    // Whether a record for the monitor is held (in memory and on disk).
    virtual bool holdsRecord(const ScreenInfo& screen) const = 0;
    // Puts back what was remembered for the monitor and drops that part of the record once it
    // is back.
    virtual PictureRestore restoreDesktop(const ScreenInfo& screen) = 0;
    // A record made by another desktop backend (for example Xfce's, while xfdesktop is not
    // running) is waiting for that backend: the pictures it names are not to be put back here.
    virtual bool otherDesktopRecordPending() const = 0;

    // Shows the file on the monitor, filling it, on every workspace, with any slideshow paused;
    // false when the desktop refused. Only for a monitor whose record is held.
    virtual bool setDesktopPicture(const ScreenInfo& screen, const QString& path) = 0;
    // Whether the pictures must be set again after the monitors change (a root picture keeps
    // the size it was drawn for).
    virtual bool redrawAfterScreenChange() const { return false; }
    // A sentence for the user when the last restore could not put back exactly what the desktop
    // showed (and why); empty otherwise.
    virtual QString restoreLimitation() const { return {}; }
};
