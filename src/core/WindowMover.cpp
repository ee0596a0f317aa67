// Window enumeration and placement through the platform's window control.
#include "WindowMover.h"

#include "platform/Platform.h"

namespace WindowMover {

QList<ManagedWindow> windows(const Platform& platform)
{
    QList<ManagedWindow> result;
    if (!platform.windowControl().canControlWindows())
        return result;
    // A fresh identity per window per enumeration.
    for (const ClientWindow& window : platform.windowControl().windows())
        result.append({QUuid::createUuid(), window.app.isEmpty() ? QStringLiteral("App") : window.app,
                       window.title, window.handle});
    return result;
}

void arrange(const Platform& platform, quint64 element, WindowArrangement arrangement)
{
    // Region geometry comes with the window-arranging work.
    Q_UNUSED(platform);
    Q_UNUSED(element);
    Q_UNUSED(arrangement);
}

void resize(const Platform& platform, quint64 element, QSizeF size)
{
    Q_UNUSED(platform);
    Q_UNUSED(element);
    Q_UNUSED(size);
}

void minimize(const Platform& platform, quint64 element)
{
    platform.windowControl().minimize(element);
}

} // namespace WindowMover
