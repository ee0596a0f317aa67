// Monitors from Qt, ids and output names from RandR's monitor list.
#include "X11OutputScreens.h"

#include "X11Connection.h"

#include <QGuiApplication>
#include <QHash>
#include <QScreen>
#include <cstdlib>
#include <xcb/randr.h>

namespace {

struct MonitorOutput {
    quint32 output = 0;
    QString outputName;
};

QString atomName(xcb_connection_t* c, xcb_atom_t atom)
{
    xcb_get_atom_name_reply_t* reply =
        xcb_get_atom_name_reply(c, xcb_get_atom_name(c, atom), nullptr);
    if (!reply)
        return {};
    const QString name =
        QString::fromUtf8(xcb_get_atom_name_name(reply), xcb_get_atom_name_name_length(reply));
    std::free(reply);
    return name;
}

QString outputName(xcb_connection_t* c, xcb_randr_output_t output)
{
    xcb_randr_get_output_info_reply_t* info = xcb_randr_get_output_info_reply(
        c, xcb_randr_get_output_info(c, output, XCB_CURRENT_TIME), nullptr);
    if (!info)
        return {};
    const QString name =
        QString::fromUtf8(reinterpret_cast<const char*>(xcb_randr_get_output_info_name(info)),
                          xcb_randr_get_output_info_name_length(info));
    std::free(info);
    return name;
}

// RandR monitor name → its first output; Qt names its screens after the monitors.
QHash<QString, MonitorOutput> monitorOutputs()
{
    QHash<QString, MonitorOutput> result;
    xcb_connection_t* c = X11::connection();
    if (!c)
        return result;
    xcb_randr_get_monitors_reply_t* reply =
        xcb_randr_get_monitors_reply(c, xcb_randr_get_monitors(c, X11::rootWindow(), 1), nullptr);
    if (!reply)
        return result;
    for (auto it = xcb_randr_get_monitors_monitors_iterator(reply); it.rem;
         xcb_randr_monitor_info_next(&it)) {
        if (xcb_randr_monitor_info_outputs_length(it.data) < 1)
            continue;
        const xcb_randr_output_t output = xcb_randr_monitor_info_outputs(it.data)[0];
        result.insert(atomName(c, it.data->name), {output, outputName(c, output)});
    }
    std::free(reply);
    return result;
}

} // namespace

X11OutputScreens::X11OutputScreens()
{
    if (auto* app = qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        connect(app, &QGuiApplication::screenAdded, this, &Screens::screensChanged);
        connect(app, &QGuiApplication::screenRemoved, this, &Screens::screensChanged);
    }
}

QList<ScreenInfo> X11OutputScreens::screens() const
{
    QList<ScreenInfo> result;
    const QScreen* primary = QGuiApplication::primaryScreen();
    if (!primary)
        return result;
    const QHash<QString, MonitorOutput> outputs = monitorOutputs();
    const QRect p = primary->geometry();
    auto toBottomLeft = [&](QRect r) {
        return QRectF(r.x() - p.x(), p.height() - (r.y() - p.y() + r.height()), r.width(),
                      r.height());
    };
    for (const QScreen* screen : QGuiApplication::screens()) {
        ScreenInfo info;
        info.name = screen->name();
        info.outputName = screen->name();
        if (const auto found = outputs.constFind(screen->name()); found != outputs.constEnd()) {
            info.displayId = found->output;
            if (!found->outputName.isEmpty())
                info.outputName = found->outputName;
        }
        info.frame = toBottomLeft(screen->geometry());
        info.visibleFrame = toBottomLeft(screen->availableGeometry());
        info.backingScale = screen->devicePixelRatio();
        result.append(info);
    }
    return result;
}
