// A process-wide record of reported problems; used from the UI thread and from workers.
#include "ProblemLog.h"

#include <QHash>
#include <QMutex>

namespace ProblemLog {

namespace {

struct Record {
    QMutex mutex;
    QHash<QString, QString> lastByTopic;
    QStringList written;
};

Record& record()
{
    static Record instance;
    return instance;
}

} // namespace

bool reportOnce(const QString& topic, const QString& message)
{
    Record& r = record();
    {
        QMutexLocker lock(&r.mutex);
        const auto it = r.lastByTopic.constFind(topic);
        if (it != r.lastByTopic.constEnd() && *it == message)
            return false;
        r.lastByTopic.insert(topic, message);
        r.written.append(message);
        // Only the latest are kept for inspection; the log has them all.
        constexpr qsizetype kKept = 200;
        if (r.written.size() > kKept)
            r.written.remove(0, r.written.size() - kKept);
    }
    qWarning("Quillet: %s", qUtf8Printable(message));
    return true;
}

void clear(const QString& topic)
{
    Record& r = record();
    QMutexLocker lock(&r.mutex);
    r.lastByTopic.remove(topic);
}

QStringList reported()
{
    Record& r = record();
    QMutexLocker lock(&r.mutex);
    return r.written;
}

} // namespace ProblemLog
