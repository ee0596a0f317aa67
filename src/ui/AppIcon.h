// The program's icon: a quill with sparkles, from the icon theme or drawn by us.
#pragma once

#include <QIcon>

// The application icon ("quillet" in the icon theme, else drawn).
QIcon appIcon();
// Our own drawing of it, which needs no search through the icon theme's folders.
QIcon drawnAppIcon();
// The tray icon: a sparkles symbol.
QIcon trayIcon();
