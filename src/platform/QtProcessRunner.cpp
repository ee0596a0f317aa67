// ProcessRunner on QProcess.
#include "PlatformLogging.h"
#include "ProcessRunner.h"

#include <QProcess>

namespace {
constexpr int kStartTimeoutMs = 1000;
constexpr int kRunTimeoutMs = 3000;
} // namespace

void QtProcessRunner::run(const QString& program, const QStringList& arguments)
{
    QProcess process;
    // The child inherits our environment, working directory and standard streams.
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(program, arguments);
    // A tool that hangs (its daemon stopped, say) must not hold the caller for long.
    if (!process.waitForStarted(kStartTimeoutMs)) {
        qCDebug(lcProcess, "cannot run %s: %s", qUtf8Printable(program),
                qUtf8Printable(process.errorString()));
        return;
    }
    if (!process.waitForFinished(kRunTimeoutMs)) {
        qCDebug(lcProcess, "%s did not finish in %d ms; stopped", qUtf8Printable(program),
                kRunTimeoutMs);
        process.kill();
        process.waitForFinished(kStartTimeoutMs);
        return;
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        qCDebug(lcProcess, "%s %s failed (exit status %d)", qUtf8Printable(program),
                qUtf8Printable(arguments.join(QLatin1Char(' '))), process.exitCode());
}

void QtProcessRunner::startDetached(const QString& program, const QStringList& arguments)
{
    if (!QProcess::startDetached(program, arguments))
        qCDebug(lcProcess, "cannot start %s", qUtf8Printable(program));
}
