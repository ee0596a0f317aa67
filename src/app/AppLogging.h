// Logging categories of the application shell. Debug output is off by default; switch it on
// with QT_LOGGING_RULES, for example "quillet.*.debug=true".
#pragma once

#include <QLoggingCategory>

// Start-up, the single-instance channel and commands from the command line.
Q_DECLARE_LOGGING_CATEGORY(lcApp)
// The D-Bus service.
Q_DECLARE_LOGGING_CATEGORY(lcDBus)
