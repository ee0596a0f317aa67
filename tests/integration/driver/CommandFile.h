#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTextStream>
#include <QTimer>
#include <functional>

// The command channel of a test driver: a test appends lines "<tag> COMMAND [ARGUMENT]" to a
// file, and each answer line printed on stdout starts with the command's tag; "<tag> done" ends
// the answer. A command that finishes later calls hold() and then finish(); the commands after
// it wait. "ready" on a line of its own says that the driver reads commands.
class CommandFile final : public QObject {
public:
    using Handler = std::function<void(const QString& command, const QString& argument)>;

    CommandFile(const QString& path, Handler handler);

    void say(const QString& line);
    void hold() { m_held = true; }
    void finish();

private:
    void poll();
    void runPending();

    QString m_path;
    Handler m_handler;
    QTextStream m_out;
    QTimer m_poll;
    qint64 m_offset = 0;
    QByteArray m_pending;
    QString m_tag;
    bool m_held = false;
};
