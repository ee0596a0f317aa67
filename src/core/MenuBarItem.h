// One item of the top panel's tray, keyed by its window number.
#pragma once

#include <QRectF>
#include <QString>
#include <QtGlobal>

struct MenuBarItem {
    quint32 id = 0;
    QString owner;
    // Frame in global bottom-left coordinates (y grows upwards).
    QRectF frame;
    QString label;
    // The owning process, 0 when unknown: icons of one program are numbered in the order their
    // processes started, which survives re-docking.
    qint64 pid = 0;

    bool operator==(const MenuBarItem&) const = default;
};
