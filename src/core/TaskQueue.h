// Work kept off the interface thread: tasks run one after another on a thread of their own, and
// what each one leaves for the interface runs back on the thread of its context object. Unit
// tests run the tasks inline, so what a task does is done when the call that posted it returns.
#pragma once

#include <QObject>
#include <QThread>
#include <atomic>
#include <functional>

class TaskQueue {
public:
    virtual ~TaskQueue() = default;

    // Runs `work` once every task posted before it has run, then `done` (when given) on the
    // thread of `context`, unless the context is gone by then.
    virtual void post(std::function<void()> work, QObject* context,
                      std::function<void()> done = {}) = 0;
    // Whether every task posted so far has run (their `done` may still be on its way).
    virtual bool idle() const = 0;
};

// Runs each task at once, on the caller's thread.
class InlineTaskQueue final : public TaskQueue {
public:
    void post(std::function<void()> work, QObject* context, std::function<void()> done) override;
    bool idle() const override { return true; }
};

// One worker thread with an event loop; its tasks run in the order they were posted.
class ThreadTaskQueue final : public TaskQueue {
public:
    // `name` names the thread (seen in debuggers and /proc).
    explicit ThreadTaskQueue(const QString& name);
    // Lets the task running now finish, then ends the thread; tasks not yet started are dropped.
    ~ThreadTaskQueue() override;

    void post(std::function<void()> work, QObject* context, std::function<void()> done) override;
    bool idle() const override { return m_pending.load() == 0; }

private:
    QThread m_thread;
    QObject* m_worker;
    std::atomic<int> m_pending{0};
};
