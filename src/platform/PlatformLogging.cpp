// Categories of the platform backends; only warnings and above show unless asked for.
#include "PlatformLogging.h"

Q_LOGGING_CATEGORY(lcX11, "quillet.x11", QtInfoMsg)
Q_LOGGING_CATEGORY(lcXfce, "quillet.xfce", QtInfoMsg)
Q_LOGGING_CATEGORY(lcProcess, "quillet.process", QtInfoMsg)
