// Categories of the application shell; only warnings and above show unless asked for.
#include "AppLogging.h"

Q_LOGGING_CATEGORY(lcApp, "quillet.app", QtInfoMsg)
Q_LOGGING_CATEGORY(lcDBus, "quillet.dbus", QtInfoMsg)
