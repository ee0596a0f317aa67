#include "CommandFile.h"

#include <QFile>
#include <cstdio>

CommandFile::CommandFile(const QString& path, Handler handler)
    : m_path(path), m_handler(std::move(handler)), m_out(stdout)
{
    connect(&m_poll, &QTimer::timeout, this, &CommandFile::poll);
    m_poll.start(20);
    m_out << "ready" << Qt::endl;
}

void CommandFile::say(const QString& line)
{
    m_out << m_tag << ' ' << line << Qt::endl;
}

void CommandFile::finish()
{
    say(QStringLiteral("done"));
    m_held = false;
    runPending();
}

void CommandFile::poll()
{
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly) || !file.seek(m_offset))
        return;
    const QByteArray data = file.readAll();
    m_offset += data.size();
    m_pending += data;
    runPending();
}

void CommandFile::runPending()
{
    qsizetype end;
    while (!m_held && (end = m_pending.indexOf('\n')) >= 0) {
        const QString line = QString::fromUtf8(m_pending.left(end)).trimmed();
        m_pending.remove(0, end + 1);
        m_tag = line.section(QLatin1Char(' '), 0, 0);
        const QString command = line.section(QLatin1Char(' '), 1, 1);
        if (command.isEmpty())
            continue;
        m_handler(command, line.section(QLatin1Char(' '), 2));
        if (!m_held)
            say(QStringLiteral("done"));
    }
}
