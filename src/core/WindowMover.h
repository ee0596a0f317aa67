// Lists other applications' windows and moves, resizes and minimises one of them.
#pragma once

#include "ManagedWindow.h"
#include "WindowArrangement.h"

#include <QList>
#include <QRectF>
#include <QSizeF>

class Platform;

namespace WindowMover {
QList<ManagedWindow> windows(const Platform& platform);
void arrange(const Platform& platform, quint64 element, WindowArrangement arrangement);
void resize(const Platform& platform, quint64 element, QSizeF size);
void minimize(const Platform& platform, quint64 element);
} // namespace WindowMover
