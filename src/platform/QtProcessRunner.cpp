// ProcessRunner on QProcess.
#include "ProcessRunner.h"

#include "PlatformLogging.h"

#include <QProcess>

void QtProcessRunner::run(const QString& program, const QStringList& arguments)
{
    QProcess process;
    // The child inherits our environment, working directory and standard streams.
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(program, arguments);
    if (!process.waitForStarted()) {
        qCDebug(lcProcess, "cannot run %s: %s", qUtf8Printable(program),
                qUtf8Printable(process.errorString()));
        return;
    }
    process.waitForFinished(-1);
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        qCDebug(lcProcess, "%s %s failed (exit status %d)", qUtf8Printable(program),
                qUtf8Printable(arguments.join(QLatin1Char(' '))), process.exitCode());
}

void QtProcessRunner::startDetached(const QString& program, const QStringList& arguments)
{
    if (!QProcess::startDetached(program, arguments))
        qCDebug(lcProcess, "cannot start %s", qUtf8Printable(program));
}
