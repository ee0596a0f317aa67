// Problems with the user's files and folders that the user should hear about: each distinct one
// is written to the log once per run, however often the failing operation is retried.
#pragma once

#include <QString>
#include <QStringList>

namespace ProblemLog {

// Writes `message` (prefixed "Quillet: ") to the log unless the same `topic` was already reported
// with the same message. Returns true when it was written.
bool reportOnce(const QString& topic, const QString& message);
// Forgets `topic`, so that a later failure is reported again (after the operation worked).
void clear(const QString& topic);
// The messages written so far (the latest 200), oldest first.
QStringList reported();

} // namespace ProblemLog
