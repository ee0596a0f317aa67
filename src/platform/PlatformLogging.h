// Logging categories of the platform backends: requests the X server refuses and desktop
// programs that fail are written at debug level, off by default
// (QT_LOGGING_RULES="quillet.x11.debug=true;quillet.xfce.debug=true" shows them).
#pragma once

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(lcX11)     // quillet.x11: the X server, RandR, captures, windows
Q_DECLARE_LOGGING_CATEGORY(lcXfce)    // quillet.xfce: xfconf, xfdesktop, the panel
Q_DECLARE_LOGGING_CATEGORY(lcProcess) // quillet.process: the desktop commands Quillet runs
