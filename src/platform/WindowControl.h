// Listing, moving, resizing and minimising other applications' windows.
#pragma once

#include <QList>
#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <QString>
#include <optional>

// What a top-level window is for, as the window manager sees it.
enum class WindowRole { normal, dialog, utility, dock, desktop, other };

// One top-level client window as the window manager lists it, before any filtering.
struct ClientWindow {
    quint64 handle = 0;
    // The owning application's name (its desktop entry name, else its window class); empty when
    // the window says nothing about its application.
    QString app;
    QString title;
    // The owner's process id; 0 when the window does not tell.
    qint64 pid = 0;
    WindowRole role = WindowRole::normal;
    // Kept out of the taskbar, as helper and agent windows are.
    bool skipTaskbar = false;
    bool minimized = false;
    // On the workspace shown now, or on every workspace (sticky).
    bool onCurrentWorkspace = true;
    // Place in the window manager's stacking order counted from the front (0 = topmost); -1
    // when the window manager does not publish one.
    int depth = -1;
};

class WindowControl {
public:
    virtual ~WindowControl() = default;
    // True when other applications' windows can be listed and moved.
    virtual bool canControlWindows() const = 0;
    // Tells the user what is missing; control may become possible later.
    virtual void requestWindowControl() = 0;
    // Every managed top-level window in the window manager's order (oldest first), on every
    // workspace.
    virtual QList<ClientWindow> windows() const = 0;
    // Outer frame (decorations included) in global top-left coordinates.
    virtual std::optional<QRectF> frame(quint64 handle) const = 0;
    // Moves the outer frame's top-left corner (global top-left coordinates).
    virtual void setPosition(quint64 handle, QPointF topLeft) = 0;
    // Resizes the outer frame, decorations included.
    virtual void setSize(quint64 handle, QSizeF size) = 0;
    // Asks the window manager to minimise the window; returns once it is minimised or a short
    // wait has passed.
    virtual void minimize(quint64 handle) = 0;
};
