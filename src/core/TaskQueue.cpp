// The worker thread behind TaskQueue: a QObject living on it receives each task as a queued call.
#include "TaskQueue.h"

#ifdef __GLIBC__
#include <malloc.h>
#endif

#include <QPointer>
#include <mutex>

void InlineTaskQueue::post(std::function<void()> work, QObject*, std::function<void()> done)
{
    work();
    if (done)
        done();
}

ThreadTaskQueue::ThreadTaskQueue(const QString& name) : m_worker(new QObject)
{
#ifdef __GLIBC__
    // The tasks handle pictures of whole monitors. Left to itself, glibc raises its mmap
    // threshold to the size of the largest block freed (up to 32 MiB) and its trim threshold
    // to twice that: a worker thread's heap then keeps tens of megabytes that malloc_trim
    // cannot hand back (it trims only the free blocks of such a heap, not its top). Fixed
    // thresholds keep every block of a megabyte or more in its own mapping, given back when
    // it is freed.
    static std::once_flag fixed;
    std::call_once(fixed, [] {
        mallopt(M_MMAP_THRESHOLD, 1 << 20);
        mallopt(M_TRIM_THRESHOLD, 1 << 20);
    });
#endif
    m_thread.setObjectName(name);
    m_worker->moveToThread(&m_thread);
    // The worker goes with the thread's end, on the thread it lives on.
    QObject::connect(&m_thread, &QThread::finished, m_worker, &QObject::deleteLater);
    m_thread.start();
}

ThreadTaskQueue::~ThreadTaskQueue()
{
    m_thread.quit();
    m_thread.wait();
}

void ThreadTaskQueue::post(std::function<void()> work, QObject* context, std::function<void()> done)
{
    ++m_pending;
    QMetaObject::invokeMethod(
        m_worker,
        [this, work = std::move(work), context = QPointer<QObject>(context),
         done = std::move(done)] {
            work();
#ifdef __GLIBC__
            // The work renders pictures of whole monitors. Once glibc has raised its mmap
            // threshold past their size it keeps them freed on its heap for reuse: after the
            // last task of a burst, hand that memory back.
            if (m_pending == 1)
                malloc_trim(0);
#endif
            // Counted as run before the answer is posted: whoever waits for an idle queue may
            // rely on the work's effects, not on the answer having arrived.
            --m_pending;
            if (done && context)
                QMetaObject::invokeMethod(context, done, Qt::QueuedConnection);
        },
        Qt::QueuedConnection);
}
