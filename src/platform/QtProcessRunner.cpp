// ProcessRunner on QProcess.
#include "ProcessRunner.h"

#include <QProcess>

void QtProcessRunner::run(const QString& program, const QStringList& arguments)
{
    QProcess process;
    // The child inherits our environment, working directory and standard streams.
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(program, arguments);
    if (process.waitForStarted())
        process.waitForFinished(-1);
}

void QtProcessRunner::startDetached(const QString& program, const QStringList& arguments)
{
    QProcess::startDetached(program, arguments);
}
