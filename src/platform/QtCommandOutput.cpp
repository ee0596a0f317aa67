// CommandOutput on QProcess.
#include "CommandOutput.h"
#include "PlatformLogging.h"

#include <QPointer>
#include <QProcess>
#include <QTimer>
#include <memory>

namespace {
// A settings tool whose daemon hangs must not hold a pass, or leave the UI waiting, for long.
constexpr int kRunTimeoutMs = 4000;

CommandOutput::Output outputOf(QProcess& process, const QString& program)
{
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        qCDebug(lcProcess, "%s failed (exit status %d): %s", qUtf8Printable(program),
                process.exitCode(), process.readAllStandardError().trimmed().constData());
        return std::nullopt;
    }
    return process.readAllStandardOutput();
}
} // namespace

CommandOutput::Output QtCommandOutput::run(const QString& program, const QStringList& arguments)
{
    return runWithInput(program, arguments, {});
}

CommandOutput::Output QtCommandOutput::runWithInput(const QString& program,
                                                    const QStringList& arguments,
                                                    const QByteArray& input)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForStarted(kRunTimeoutMs)) {
        qCDebug(lcProcess, "cannot run %s: %s", qUtf8Printable(program),
                qUtf8Printable(process.errorString()));
        return std::nullopt;
    }
    if (!input.isEmpty())
        process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(kRunTimeoutMs)) {
        qCDebug(lcProcess, "%s did not finish in %d ms; stopped", qUtf8Printable(program),
                kRunTimeoutMs);
        process.kill();
        process.waitForFinished(1000);
        return std::nullopt;
    }
    return outputOf(process, program);
}

void QtCommandOutput::runAsync(QObject* context, const QString& program,
                               const QStringList& arguments, std::function<void(Output)> done)
{
    auto* process = new QProcess(context);
    // Exactly one answer: the first of finished, failed to start, or the time limit.
    auto answer = std::make_shared<std::function<void(Output)>>(std::move(done));
    auto finish = [process, answer](Output output) {
        if (!*answer)
            return;
        std::exchange(*answer, {})(std::move(output));
        process->deleteLater();
    };
    QObject::connect(process, &QProcess::finished, process,
                     [process, program, finish] { finish(outputOf(*process, program)); });
    QObject::connect(process, &QProcess::errorOccurred, process,
                     [process, program, finish](QProcess::ProcessError error) {
                         if (error != QProcess::FailedToStart)
                             return;
                         qCDebug(lcProcess, "cannot run %s: %s", qUtf8Printable(program),
                                 qUtf8Printable(process->errorString()));
                         finish(std::nullopt);
                     });
    QTimer::singleShot(kRunTimeoutMs, process, [process, program, finish] {
        if (process->state() == QProcess::NotRunning)
            return;
        qCDebug(lcProcess, "%s did not finish in %d ms; stopped", qUtf8Printable(program),
                kRunTimeoutMs);
        process->kill();
        finish(std::nullopt);
    });
    process->start(program, arguments, QIODevice::ReadOnly);
}
