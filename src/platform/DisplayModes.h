// Monitors' display modes: listing them and switching one monitor for this session only.
#pragma once

#include <QList>
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

class DisplayModes {
public:
    virtual ~DisplayModes() = default;
    virtual QList<quint32> onlineDisplays() const = 0;
    virtual quint32 mainDisplay() const = 0;
    virtual std::optional<PlatformDisplayMode> currentMode(quint32 display) const = 0;
    virtual QList<PlatformDisplayMode> allModes(quint32 display) const = 0;
    // One transaction for one display, never written to persistent settings. False when it
    // was refused or did not complete.
    virtual bool switchMode(quint32 display, qint32 modeId) = 0;
};
