// The monitors from RandR, joined to Qt's screens, with visible frames computed from the panels'
// struts.
#pragma once

#include "platform/Screens.h"

#include <QAbstractNativeEventFilter>
#include <QHash>
#include <QTimer>
#include <optional>

class X11Screens final : public Screens, public QAbstractNativeEventFilter {
    Q_OBJECT
public:
    X11Screens();
    ~X11Screens() override;

    // The list read at the first call after a change of the monitors, the panels' struts or
    // the desktop's scaling factor: asking again costs no round trip to the X server (which
    // may be busy for a long while, drawing a new desktop picture).
    QList<ScreenInfo> screens() const override;
    std::optional<QRect> windowGeometry(const QRectF& bottomLeft) const override;

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    // Drops the list read last and reports the change once the event has been handled.
    void scheduleChanged();
    QList<ScreenInfo> readScreens() const;
    // The output's name and the monitor's product name, read once per configuration.
    QPair<QString, QString> names(quint32 output) const;

    // Several notifications arrive for one reconfiguration: they are reported once.
    QTimer m_changed;
    quint8 m_randrBase = 0;
    mutable QHash<quint32, QPair<QString, QString>> m_names;
    mutable std::optional<QList<ScreenInfo>> m_screens;
};
