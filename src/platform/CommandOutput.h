// Desktop tools whose answer matters (a settings value read back): fixed argument vectors, no
// shell, every run bounded in time. The blocking form is for worker threads only; the UI thread
// uses the asynchronous one.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

class QObject;

class CommandOutput {
public:
    // What the tool printed on standard output; none when it could not start, ran too long or
    // exited with an error.
    using Output = std::optional<QByteArray>;

    virtual ~CommandOutput() = default;
    virtual Output run(const QString& program, const QStringList& arguments) = 0;
    // The same with `input` on the tool's standard input.
    virtual Output runWithInput(const QString& program, const QStringList& arguments,
                                const QByteArray& input) = 0;
    // Hands the output to `done` on `context`'s thread; nothing is called once `context` is
    // gone.
    virtual void runAsync(QObject* context, const QString& program, const QStringList& arguments,
                          std::function<void(Output)> done) = 0;
};

class QtCommandOutput final : public CommandOutput {
public:
    Output run(const QString& program, const QStringList& arguments) override;
    Output runWithInput(const QString& program, const QStringList& arguments,
                        const QByteArray& input) override;
    void runAsync(QObject* context, const QString& program, const QStringList& arguments,
                  std::function<void(Output)> done) override;
};
