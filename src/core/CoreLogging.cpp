// Categories of the core; only warnings and above show unless asked for.
#include "CoreLogging.h"

Q_LOGGING_CATEGORY(lcWallpaper, "quillet.wallpaper", QtInfoMsg)
Q_LOGGING_CATEGORY(lcCover, "quillet.cover", QtInfoMsg)
Q_LOGGING_CATEGORY(lcDisplays, "quillet.displays", QtInfoMsg)
Q_LOGGING_CATEGORY(lcIcons, "quillet.icons", QtInfoMsg)
Q_LOGGING_CATEGORY(lcStore, "quillet.store", QtInfoMsg)
Q_LOGGING_CATEGORY(lcWindows, "quillet.windows", QtInfoMsg)
