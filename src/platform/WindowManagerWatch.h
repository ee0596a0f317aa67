// Tells when the window manager or the compositing manager is replaced. Windows that bypass
// the window manager stay mapped across such a change but may no longer be drawn, so their
// owners create them again.
#pragma once

#include <QObject>

class WindowManagerWatch : public QObject {
    Q_OBJECT
public:
    // The degraded watch: nothing to watch, the signal never comes.
    WindowManagerWatch() = default;

signals:
    // A new window manager or compositing manager took over the screen.
    void managerReplaced();
};
