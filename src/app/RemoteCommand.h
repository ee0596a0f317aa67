// The sending side of a command given on the command line.
#pragma once

#include <QString>

namespace RemoteCommand {
// Sends `command` to the running Quillet, starting one (without its window) when none runs,
// prints the answer and returns the exit status: 0 when done, 1 when it could not be done.
int run(const QString& command);
} // namespace RemoteCommand
