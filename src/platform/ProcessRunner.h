// Child processes with fixed argument vectors and no shell.
#pragma once

#include <QString>
#include <QStringList>

class ProcessRunner {
public:
    virtual ~ProcessRunner() = default;
    // Runs to completion, or for a few seconds at most (then the child is killed); launch
    // errors, output and exit status are ignored.
    virtual void run(const QString& program, const QStringList& arguments) = 0;
    // Starts a process that is not our child and outlives us.
    virtual void startDetached(const QString& program, const QStringList& arguments) = 0;
};

class QtProcessRunner final : public ProcessRunner {
public:
    void run(const QString& program, const QStringList& arguments) override;
    void startDetached(const QString& program, const QStringList& arguments) override;
};
