// A scheduler driven by a fake clock: work runs only when the test advances time.
#pragma once

#include "core/Scheduler.h"

#include <QPointer>
#include <vector>

class FakeScheduler final : public Scheduler {
public:
    std::shared_ptr<ScheduledTask> after(std::chrono::milliseconds delay, QObject* context,
                                         std::function<void()> work) override;
    std::shared_ptr<ScheduledTask> every(std::chrono::milliseconds interval, QObject* context,
                                         std::function<void()> tick) override;

    // Moves the clock forward, running every due task in time order.
    void advance(std::chrono::milliseconds by);
    // Tasks not yet cancelled, finished or orphaned.
    int activeCount() const;

private:
    struct Task;
    std::vector<std::shared_ptr<Task>> m_tasks;
    std::chrono::milliseconds m_now{0};
};
