// One item of the top panel's tray, keyed by its window number.
#pragma once

#include <QRectF>
#include <QString>
#include <QtGlobal>

struct MenuBarItem {
    quint32 id = 0;
    QString owner;
    // Frame in global bottom-left coordinates (y grows upwards).
    QRectF cocoaRect;
    QString label;

    bool operator==(const MenuBarItem&) const = default;
};
