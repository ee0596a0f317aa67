// One window of another application, as listed for arranging.
#pragma once

#include <QString>
#include <QUuid>
#include <QtGlobal>

struct ManagedWindow {
    QUuid id;
    QString app;
    QString title;
    // The platform's handle of the window (the X window id on X11).
    quint64 element = 0;

    QString menuLabel() const
    {
        return app + QStringLiteral(" \u2014 ") +
               (title.isEmpty() ? QStringLiteral("Untitled") : title);
    }
    bool operator==(const ManagedWindow& other) const { return id == other.id; }
};
