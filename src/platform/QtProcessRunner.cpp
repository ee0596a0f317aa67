// ProcessRunner on QProcess.
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
    if (process.waitForStarted(kStartTimeoutMs) && !process.waitForFinished(kRunTimeoutMs)) {
        process.kill();
        process.waitForFinished(kStartTimeoutMs);
    }
}

void QtProcessRunner::startDetached(const QString& program, const QStringList& arguments)
{
    QProcess::startDetached(program, arguments);
}
