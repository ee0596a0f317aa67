// Logging categories of the model and its controllers. Failures the program deliberately does
// not report (a picture that cannot be set, a mode that cannot be switched) are written here at
// debug level, off by default; QT_LOGGING_RULES="quillet.*.debug=true" shows them.
#pragma once

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(lcWallpaper) // quillet.wallpaper: desktop pictures and their originals
Q_DECLARE_LOGGING_CATEGORY(lcCover)     // quillet.cover: panel items, captures and masks
Q_DECLARE_LOGGING_CATEGORY(lcDisplays)  // quillet.displays: display modes and their originals
Q_DECLARE_LOGGING_CATEGORY(lcIcons)     // quillet.icons: hiding and showing the desktop icons
Q_DECLARE_LOGGING_CATEGORY(lcStore)     // quillet.store: the stored choices
Q_DECLARE_LOGGING_CATEGORY(lcWindows)   // quillet.windows: other applications' windows
