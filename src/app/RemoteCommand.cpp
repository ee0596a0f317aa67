// Runs in a plain QCoreApplication: a command needs no window and no X connection of its own.
#include "RemoteCommand.h"

#include "SingleInstance.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QProcess>
#include <QThread>
#include <cerrno>
#include <csignal>
#include <cstdio>

namespace {
// Long enough for a first start on a busy machine (the desktop scan, the desktop programs).
constexpr int kStartTimeoutMs = 30000;
constexpr int kQuitTimeoutMs = 60000;

void printError(const QString& message)
{
    std::fprintf(stderr, "quillet: %s\n", qPrintable(message));
}

bool processExists(qint64 pid)
{
    return ::kill(pid_t(pid), 0) == 0 || errno == EPERM;
}

// Starts Quillet detached (it outlives this command) and waits until it holds the lock.
bool startInstance(QString& whyNot)
{
    QProcess process;
    process.setProgram(QCoreApplication::applicationFilePath());
    process.setArguments({QStringLiteral("--hidden")});
    // Its messages go to our standard error like any program's, but it must not hold our
    // standard output open: `$(quillet --status)` would wait for Quillet to end.
    process.setStandardOutputFile(QProcess::nullDevice());
    qint64 pid = 0;
    if (!process.startDetached(&pid)) {
        whyNot =
            QStringLiteral("cannot start %1: %2").arg(process.program(), process.errorString());
        return false;
    }
    const QDeadlineTimer deadline(kStartTimeoutMs);
    while (!SingleInstance::isRunning()) {
        if (!processExists(pid)) {
            whyNot = QStringLiteral("Quillet was started but ended at once (see its messages)");
            return false;
        }
        if (deadline.hasExpired()) {
            whyNot = QStringLiteral("Quillet was started but did not get ready within %1 s")
                         .arg(kStartTimeoutMs / 1000);
            return false;
        }
        QThread::msleep(20);
    }
    return true;
}
} // namespace

int RemoteCommand::run(const QString& command)
{
    if (!SingleInstance::isRunning()) {
        if (command == QLatin1String("quit")) {
            printError(QStringLiteral("Quillet is not running; nothing to quit"));
            return 0;
        }
        QString whyNot;
        if (!startInstance(whyNot)) {
            printError(whyNot);
            return 1;
        }
    }
    const SingleInstance::Answer answer = SingleInstance::send(command, kStartTimeoutMs);
    for (const QString& line : answer.lines) {
        if (answer.done)
            std::printf("%s\n", qPrintable(line));
        else
            printError(line);
    }
    if (!answer.done)
        return 1;
    if (command == QLatin1String("quit")) {
        // Done once the process is gone: the desktop is put back before it ends.
        const QDeadlineTimer deadline(kQuitTimeoutMs);
        while (SingleInstance::isRunning()) {
            if (deadline.hasExpired()) {
                printError(
                    QStringLiteral("Quillet did not end within %1 s").arg(kQuitTimeoutMs / 1000));
                return 1;
            }
            QThread::msleep(20);
        }
    }
    return 0;
}
