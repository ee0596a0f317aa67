// Monitors' display modes: listing them and switching one monitor for this session only.
#pragma once

#include <QList>
#include <QPoint>
#include <QString>
#include <optional>

struct PlatformDisplayMode {
    qint32 id = 0;
    qint64 width = 0;
    qint64 height = 0;
    qint64 pixelWidth = 0;
    qint64 pixelHeight = 0;
    double refresh = 0.0;
    bool usableForDesktop = true;
};

// Where a display stands on the desktop.
struct DisplayPlacement {
    // The connector the monitor is plugged into ("DP-1"): it names the display across launches.
    QString connector;
    // Top-left corner in the platform's desktop coordinates (pixels).
    QPoint position;
    // Rotation and reflection in the platform's own encoding; 1 is upright.
    int rotation = 1;

    bool operator==(const DisplayPlacement&) const = default;
};

class DisplayModes {
public:
    virtual ~DisplayModes() = default;
    virtual QList<quint32> onlineDisplays() const = 0;
    virtual quint32 mainDisplay() const = 0;
    virtual std::optional<PlatformDisplayMode> currentMode(quint32 display) const = 0;
    virtual QList<PlatformDisplayMode> allModes(quint32 display) const = 0;
    virtual std::optional<DisplayPlacement> placement(quint32 /*display*/) const
    {
        return std::nullopt;
    }
    // One transaction for one display, never written to persistent settings; the other displays
    // are re-placed in the same transaction so that their arrangement stays as it was. False when
    // it was refused or did not complete.
    virtual bool switchMode(quint32 display, qint32 modeId) = 0;
    // The same, with the display put at the placement's position and rotation.
    virtual bool placeMode(quint32 display, qint32 modeId, const DisplayPlacement& /*placement*/)
    {
        return switchMode(display, modeId);
    }
};
