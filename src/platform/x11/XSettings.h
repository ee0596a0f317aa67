// Reading the XSETTINGS blob (the _XSETTINGS_SETTINGS property of the settings manager).
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>
#include <xcb/xcb.h>

namespace XSettings {
// The string setting `name` ("Net/ThemeName"); nothing when absent, not a string or the blob
// is malformed.
std::optional<QString> stringSetting(const QByteArray& blob, const QByteArray& name);
// The integer setting `name` ("Gdk/WindowScalingFactor"); nothing when absent or not an integer.
std::optional<qint32> intSetting(const QByteArray& blob, const QByteArray& name);
// The blob published by the owner of _XSETTINGS_S0 on the program's X connection.
QByteArray currentBlob();
// The window that owns _XSETTINGS_S0 (the settings manager); XCB_WINDOW_NONE without one.
xcb_window_t ownerWindow();
} // namespace XSettings
