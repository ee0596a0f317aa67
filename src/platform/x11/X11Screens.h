// The monitors from RandR, joined to Qt's screens, with visible frames computed from the panels'
// struts.
#pragma once

#include "platform/Screens.h"

#include <QAbstractNativeEventFilter>
#include <QHash>
#include <QTimer>

class X11Screens final : public Screens, public QAbstractNativeEventFilter {
    Q_OBJECT
public:
    X11Screens();
    ~X11Screens() override;

    QList<ScreenInfo> screens() const override;
    std::optional<QRect> windowGeometry(const QRectF& bottomLeft) const override;

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    void scheduleChanged();
    // The output's name and the monitor's product name, read once per configuration.
    QPair<QString, QString> names(quint32 output) const;

    // Several notifications arrive for one reconfiguration: they are reported once.
    QTimer m_changed;
    quint8 m_randrBase = 0;
    mutable QHash<quint32, QPair<QString, QString>> m_names;
};
