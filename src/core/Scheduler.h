// Delayed and repeating work on the main thread. The program uses Qt timers; tests advance a
// fake clock. Work never runs after its context object is destroyed.
#pragma once

#include <QObject>
#include <chrono>
#include <functional>
#include <memory>

// A handle to scheduled work; cancelling it (or dropping the context) stops it for good.
class ScheduledTask {
public:
    virtual ~ScheduledTask() = default;
    virtual void cancel() = 0;
    virtual bool isActive() const = 0;
};

class Scheduler {
public:
    virtual ~Scheduler() = default;

    // Runs `work` once, `delay` from now, unless cancelled or `context` is gone by then.
    virtual std::shared_ptr<ScheduledTask> after(std::chrono::milliseconds delay, QObject* context,
                                                 std::function<void()> work) = 0;
    // Runs `tick` every `interval` until cancelled or `context` is gone.
    virtual std::shared_ptr<ScheduledTask> every(std::chrono::milliseconds interval,
                                                 QObject* context, std::function<void()> tick) = 0;
};

// Qt timers on the thread of the context object.
class QtScheduler final : public Scheduler {
public:
    std::shared_ptr<ScheduledTask> after(std::chrono::milliseconds delay, QObject* context,
                                         std::function<void()> work) override;
    std::shared_ptr<ScheduledTask> every(std::chrono::milliseconds interval, QObject* context,
                                         std::function<void()> tick) override;
};
