// Listing, moving, resizing and minimising other applications' windows.
#pragma once

#include <QList>
#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <QString>
#include <optional>

struct ClientWindow {
    quint64 handle = 0;
    QString app;
    QString title;
};

class WindowControl {
public:
    virtual ~WindowControl() = default;
    // True when other applications' windows can be listed and moved.
    virtual bool canControlWindows() const = 0;
    // Tells the user what is missing; control may become possible later.
    virtual void requestWindowControl() = 0;
    virtual QList<ClientWindow> windows() const = 0;
    // Outer frame in global top-left coordinates.
    virtual std::optional<QRectF> frame(quint64 handle) const = 0;
    virtual void setPosition(quint64 handle, QPointF topLeft) = 0;
    virtual void setSize(quint64 handle, QSizeF size) = 0;
    virtual void minimize(quint64 handle) = 0;
};
