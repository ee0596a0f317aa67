// A status item's tooltip title is its description and its Title its title; an XEmbed icon
// has only its window's name as a title. The application's name is the process name, else the
// icon window's WM_CLASS class.
#include "X11ItemNames.h"

#include "X11Connection.h"
#include "X11Replies.h"
#include "X11TrayIcons.h"
#include "X11WindowFacts.h"

using namespace std::chrono_literals;

namespace {
// One application that does not answer costs at most this much.
constexpr auto sourceLimit = 250ms;
} // namespace

QList<NamedTrayElement> X11ItemNames::trayElements() const
{
    QList<NamedTrayElement> result;
    if (!X11::connection())
        return result;
    xcb_connection_t* c = X11::scanConnection();
    if (!c || xcb_connection_has_error(c))
        return result;
    const QPoint origin =
        X11::primaryMonitorOrigin(c, X11::rootWindow(), QDeadlineTimer(sourceLimit));
    for (const TrayIcon& icon : X11TrayIcons::find(c, true, sourceLimit)) {
        NamedTrayElement element;
        element.x = X11::rootToPoints(QRectF(icon.rootRect)).x() - origin.x();
        element.description = icon.description;
        element.title = icon.title;
        element.appName = icon.ownerName.value_or(QString());
        result.append(element);
    }
    return result;
}
