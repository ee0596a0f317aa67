// Small RandR queries shared by the screen list and the display modes: monitors, output names
// and the product name a monitor reports in its EDID.
#pragma once

#include <QByteArray>
#include <QList>
#include <QRect>
#include <QString>
#include <optional>
#include <xcb/randr.h>

namespace X11 {

struct RandrMonitor {
    // The monitor's name as Qt reports it for its QScreen ("DP-1" for a plain output).
    QString name;
    // Root coordinates, pixels.
    QRect rect;
    bool primary = false;
    QList<xcb_randr_output_t> outputs;
};

// True when the server offers RandR 1.5 (monitors).
bool hasRandrMonitors();
// The first event code of the RandR extension, 0 when it is missing.
quint8 randrEventBase();
// The active monitors in the server's order; empty without RandR 1.5.
QList<RandrMonitor> randrMonitors();
// The root rectangle of the active monitor called `name`, else of the first one that `output`
// drives (one output may drive several monitors, told apart by their names).
std::optional<QRect> monitorRect(const QString& name, std::optional<xcb_randr_output_t> output);
QString outputName(xcb_randr_output_t output);
// The monitor's product name from the output's EDID, empty when there is none.
QString edidProductName(xcb_randr_output_t output);
// The product name (display descriptor 0xFC) of an EDID base block, empty when absent.
QString parseEdidProductName(const QByteArray& edid);

} // namespace X11
