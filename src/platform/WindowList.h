// A snapshot of the mapped windows, front to back, as the window server reports them.
#pragma once

#include <QList>
#include <QRectF>
#include <QString>
#include <limits>
#include <optional>

// Window levels as the window list reports them.
namespace WindowLayer {
constexpr int normal = 0;
constexpr int panel = 24;
constexpr int trayIcon = 25;
// Below every other level.
constexpr int desktop = std::numeric_limits<int>::min() + 21;
} // namespace WindowLayer

struct WindowListEntry {
    // One of WindowLayer.
    int layer = 0;
    quint32 number = 0;
    // Global top-left coordinates (origin at the primary monitor's top-left, y down).
    QRectF bounds;
    std::optional<QString> ownerName;
    std::optional<QString> windowName;
    qint64 ownerPid = 0;
};

class WindowList {
public:
    virtual ~WindowList() = default;
    virtual QList<WindowListEntry> onScreenWindows() const = 0;
};
