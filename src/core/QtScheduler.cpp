// Scheduler on QTimer: the timer is a child of the context, so it dies with it.
#include "Scheduler.h"

#include <QPointer>
#include <QTimer>

namespace {

class TimerTask final : public ScheduledTask {
public:
    TimerTask(std::chrono::milliseconds interval, bool repeating, QObject* context,
              std::function<void()> work)
        : m_timer(new QTimer(context))
    {
        m_timer->setSingleShot(!repeating);
        m_timer->setInterval(interval);
        QObject::connect(m_timer, &QTimer::timeout, m_timer, [timer = m_timer, repeating, work] {
            if (!repeating)
                timer->deleteLater();
            work();
        });
        m_timer->start();
    }
    ~TimerTask() override = default;

    void cancel() override
    {
        if (m_timer) {
            m_timer->stop();
            m_timer->deleteLater();
        }
    }
    bool isActive() const override { return m_timer && m_timer->isActive(); }

private:
    QPointer<QTimer> m_timer;
};

} // namespace

std::shared_ptr<ScheduledTask> QtScheduler::after(std::chrono::milliseconds delay, QObject* context,
                                                  std::function<void()> work)
{
    return std::make_shared<TimerTask>(delay, false, context, std::move(work));
}

std::shared_ptr<ScheduledTask> QtScheduler::every(std::chrono::milliseconds interval,
                                                  QObject* context, std::function<void()> tick)
{
    return std::make_shared<TimerTask>(interval, true, context, std::move(tick));
}
