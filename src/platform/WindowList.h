// A snapshot of the mapped windows, front to back, as the window server reports them.
#pragma once

#include <QList>
#include <QRectF>
#include <QString>
#include <optional>

struct WindowListEntry {
    // Window level: panels 24, tray icons 25, ordinary windows 0.
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
