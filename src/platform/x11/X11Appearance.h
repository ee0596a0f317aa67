// Light or dark on an X11 desktop: the desktop portal's colour scheme, then the XSETTINGS theme
// name (Xfce's and GNOME's settings daemons publish it), then GNOME's colour scheme.
#pragma once

#include "platform/Appearance.h"

#include <QAbstractNativeEventFilter>
#include <QDBusVariant>
#include <QString>
#include <QTimer>
#include <xcb/xcb.h>

class X11Appearance final : public Appearance, private QAbstractNativeEventFilter {
    Q_OBJECT
public:
    X11Appearance();
    ~X11Appearance() override;

    bool isDark() const override;
    void queryDark(QObject* context, std::function<void(bool)> done) override;
    bool quickGuessDark() const override;

private slots:
    void portalSettingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
    // Follows the settings manager's window (it changes when the daemon restarts).
    void watchSettingsOwner();
    void themeMayHaveChanged();

    xcb_window_t m_settingsOwner = XCB_WINDOW_NONE;
    QString m_themeName;
    // Several notifications of one change become one signal.
    QTimer m_coalesce;
};
