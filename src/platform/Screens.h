// The monitors as the program sees them: display ids, frames and visible frames.
#pragma once

#include <QList>
#include <QObject>
#include <QRect>
#include <QRectF>
#include <QString>
#include <optional>

struct ScreenInfo {
    // RandR output id; absent when the screen cannot be matched to an output.
    std::optional<quint32> displayId;
    // The monitor's product name when known, else the output name.
    QString name;
    // The RandR output name ("DP-1"), which keys per-monitor desktop settings.
    QString outputName;
    // Global bottom-left coordinates (origin at the primary monitor's bottom-left, y up), points.
    QRectF frame;
    // The frame minus the panels' struts on this monitor.
    QRectF visibleFrame;
    double backingScale = 1.0;
};

class Screens : public QObject {
    Q_OBJECT
public:
    // In the platform's order; the primary monitor has its frame origin at (0, 0).
    virtual QList<ScreenInfo> screens() const = 0;
    // A rectangle in global bottom-left points as the geometry of one of the program's own
    // top-level windows (where Qt places it), edges on whole pixels; nothing when the points
    // are Qt's own, so the caller places it by Qt's screens.
    virtual std::optional<QRect> windowGeometry(const QRectF&) const { return std::nullopt; }

signals:
    // Once per change of the monitor configuration (added, removed, resized, moved).
    void screensChanged();
};
