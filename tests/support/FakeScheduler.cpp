// Fake clock scheduler.
#include "FakeScheduler.h"

#include <algorithm>

struct FakeScheduler::Task final : ScheduledTask {
    std::chrono::milliseconds due;
    std::chrono::milliseconds interval{0};
    bool repeating = false;
    bool active = true;
    QPointer<QObject> context;
    std::function<void()> work;

    void cancel() override { active = false; }
    bool isActive() const override { return active && !context.isNull(); }
};

std::shared_ptr<ScheduledTask> FakeScheduler::after(std::chrono::milliseconds delay,
                                                    QObject* context, std::function<void()> work)
{
    auto task = std::make_shared<Task>();
    task->due = m_now + delay;
    task->context = context;
    task->work = std::move(work);
    m_tasks.push_back(task);
    return task;
}

std::shared_ptr<ScheduledTask> FakeScheduler::every(std::chrono::milliseconds interval,
                                                    QObject* context, std::function<void()> tick)
{
    auto task = std::static_pointer_cast<Task>(after(interval, context, std::move(tick)));
    task->interval = interval;
    task->repeating = true;
    return task;
}

void FakeScheduler::advance(std::chrono::milliseconds by)
{
    const auto end = m_now + by;
    for (;;) {
        std::shared_ptr<Task> next;
        for (const auto& task : m_tasks) {
            if (task->isActive() && task->due <= end && (!next || task->due < next->due))
                next = task;
        }
        if (!next)
            break;
        m_now = next->due;
        if (next->repeating)
            next->due += next->interval;
        else
            next->active = false;
        next->work();
    }
    m_now = end;
    std::erase_if(m_tasks, [](const auto& task) { return !task->isActive(); });
}

int FakeScheduler::activeCount() const
{
    return int(std::count_if(m_tasks.begin(), m_tasks.end(),
                             [](const auto& task) { return task->isActive(); }));
}
