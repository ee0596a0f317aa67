// The command line: GNU-style options, the help and version texts, and the one command a launch
// may send to the running instance.
#pragma once

#include <QString>
#include <QStringList>

struct CommandLine {
    enum class Outcome {
        // Become (or reopen) the running instance.
        run,
        // Print helpText() on standard output and exit with status 0.
        help,
        // Print `text` on standard output and exit with status 0.
        print,
        // Print `text` on standard error and exit with status 2.
        usageError,
        // Send `command` to the running instance, starting it when none runs.
        command,
    };

    Outcome outcome = Outcome::run;
    QString text;
    // "enable", "disable", "toggle", "show", "quit" or "status".
    QString command;
    // Start without showing the main window (the instance a command starts).
    bool hidden = false;

    // `arguments` includes the program name first, as in argv.
    static CommandLine parse(const QStringList& arguments);
    // The help text; needs a QCoreApplication (the parser reads the program's name from it).
    static QString helpText();
    // The commands in the order the help lists them.
    static const QStringList& commands();
};
