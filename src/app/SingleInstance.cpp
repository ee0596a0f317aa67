// The lock is a flock() on a file in the private folder; requests are one line each way over a
// QLocalSocket in the same folder, and both ends check that the other runs as this user.
#include "SingleInstance.h"

#include "AppLogging.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QThread>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {
constexpr qsizetype kMaxRequestBytes = 4096;

QString lockPath(const QString& folder)
{
    return folder + QStringLiteral("/instance.lock");
}
QString socketPath(const QString& folder)
{
    return folder + QStringLiteral("/instance.socket");
}

// Makes `path` (mode 0700) if missing and accepts it only as a real folder of this user.
bool isPrivateFolder(const QString& path, QString* whyNot)
{
    const QByteArray native = QFile::encodeName(path);
    if (::mkdir(native.constData(), 0700) != 0 && errno != EEXIST) {
        *whyNot = QStringLiteral("%1: %2").arg(path, QString::fromLocal8Bit(std::strerror(errno)));
        return false;
    }
    struct stat info {};
    if (::lstat(native.constData(), &info) != 0 || !S_ISDIR(info.st_mode)) {
        *whyNot = QStringLiteral("%1 is not a folder").arg(path);
        return false;
    }
    if (info.st_uid != ::getuid()) {
        *whyNot = QStringLiteral("%1 belongs to user id %2").arg(path).arg(info.st_uid);
        return false;
    }
    if ((info.st_mode & 077) != 0 && ::chmod(native.constData(), 0700) != 0) {
        *whyNot = QStringLiteral("%1 is open to other users and cannot be made private").arg(path);
        return false;
    }
    // A socket's path must fit in sockaddr_un.
    if (QFile::encodeName(socketPath(path)).size() >= qsizetype(sizeof(sockaddr_un::sun_path))) {
        *whyNot = QStringLiteral("%1 is too long a path for a socket").arg(path);
        return false;
    }
    return true;
}

bool peerIsThisUser(qintptr descriptor)
{
    ucred peer{};
    socklen_t size = sizeof(peer);
    return ::getsockopt(int(descriptor), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
           peer.uid == ::getuid();
}

int openLockFile(const QString& folder)
{
    return ::open(QFile::encodeName(lockPath(folder)).constData(),
                  O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
}
} // namespace

SingleInstance::SingleInstance(QObject* parent) : QObject(parent) {}

SingleInstance::~SingleInstance()
{
    if (m_server)
        m_server->close();
    // The lock stays held until the process has ended (the kernel drops it then): a
    // `quillet --quit` that waits for the lock returns only once this process is gone, and a
    // new launch never overlaps the end of this one. The descriptor is close-on-exec, so no
    // program started from here inherits it.
}

QString SingleInstance::folder(QString* whyNot)
{
    QStringList candidates;
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (QDir::isAbsolutePath(runtime))
        candidates.append(runtime + QStringLiteral("/quillet"));
    candidates.append(QDir::tempPath() + QStringLiteral("/quillet-%1").arg(::getuid()));
    // Only this user can make a folder in their own home, so this name cannot be taken first.
    QString cache = qEnvironmentVariable("XDG_CACHE_HOME");
    if (!QDir::isAbsolutePath(cache))
        cache = QDir::homePath() + QStringLiteral("/.cache");
    candidates.append(cache + QStringLiteral("/quillet-%1").arg(::getuid()));

    QStringList reasons;
    for (const QString& candidate : std::as_const(candidates)) {
        if (candidate.startsWith(cache))
            QDir().mkpath(cache);
        QString reason;
        if (isPrivateFolder(candidate, &reason))
            return candidate;
        qCDebug(lcApp, "instance folder passed over: %s", qUtf8Printable(reason));
        reasons.append(reason);
    }
    if (whyNot)
        *whyNot = reasons.join(QStringLiteral("; "));
    return {};
}

bool SingleInstance::tryLock()
{
    if (m_lockFd >= 0)
        return true;
    const QString dir = folder();
    if (dir.isEmpty())
        return false;
    const int fd = openLockFile(dir);
    if (fd < 0)
        return false;
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        ::close(fd);
        return false;
    }
    m_lockFd = fd;
    return true;
}

bool SingleInstance::isRunning()
{
    const QString dir = folder();
    if (dir.isEmpty())
        return false;
    const int fd = openLockFile(dir);
    if (fd < 0)
        return false;
    const bool held = ::flock(fd, LOCK_EX | LOCK_NB) != 0;
    ::close(fd);
    return held;
}

bool SingleInstance::listen()
{
    QString whyNot;
    const QString dir = folder(&whyNot);
    if (dir.isEmpty() || m_lockFd < 0) {
        qCWarning(lcApp, "Quillet: no private folder for the instance socket: %s",
                  qUtf8Printable(whyNot));
        return false;
    }
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    // We hold the lock, so a socket file here is a leftover of a run that ended without
    // cleaning up: nobody answers on it.
    QLocalServer::removeServer(socketPath(dir));
    if (!m_server->listen(socketPath(dir))) {
        qCWarning(lcApp, "Quillet: cannot listen on %s: %s", qUtf8Printable(socketPath(dir)),
                  qUtf8Printable(m_server->errorString()));
        return false;
    }
    // A Quillet that is putting the desktop back takes no more requests; a launch meanwhile
    // waits for the lock instead of for an answer that would never come.
    connect(qApp, &QCoreApplication::aboutToQuit, m_server, &QLocalServer::close);
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* client = m_server->nextPendingConnection())
            serve(client);
    });
    return true;
}

void SingleInstance::serve(QLocalSocket* client)
{
    connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
    if (!peerIsThisUser(client->socketDescriptor())) {
        qCWarning(lcApp, "Quillet: refused a request from another user");
        client->disconnectFromServer();
        return;
    }
    connect(client, &QLocalSocket::readyRead, this, [this, client] {
        if (client->bytesAvailable() > kMaxRequestBytes) {
            client->disconnectFromServer();
            return;
        }
        if (!client->canReadLine())
            return;
        const QString request = QString::fromUtf8(client->readLine()).trimmed();
        qCDebug(lcApp, "request: %s", qUtf8Printable(request));
        Answer answer;
        if (m_handler)
            answer = m_handler(request);
        else
            answer = {false, {QStringLiteral("Quillet is still starting")}};
        QByteArray reply;
        for (const QString& line : std::as_const(answer.lines))
            reply += "line " + line.toUtf8().replace('\n', ' ') + '\n';
        reply += answer.done ? "done\n" : "failed\n";
        client->write(reply);
        client->flush();
        client->disconnectFromServer();
    });
}

SingleInstance::Answer SingleInstance::send(const QString& request, int timeoutMs, bool* reached)
{
    if (reached)
        *reached = false;
    QString whyNot;
    const QString dir = folder(&whyNot);
    if (dir.isEmpty())
        return {false, {QStringLiteral("no private folder for the instance socket: ") + whyNot}};

    // The instance may still be starting: try again until it listens.
    QLocalSocket socket;
    const QDeadlineTimer deadline(timeoutMs);
    for (;;) {
        socket.connectToServer(socketPath(dir));
        if (socket.waitForConnected(std::max<qint64>(100, deadline.remainingTime())))
            break;
        socket.abort();
        if (deadline.hasExpired())
            return {
                false,
                {QStringLiteral("the running Quillet does not answer on %1").arg(socketPath(dir))}};
        QThread::msleep(100);
    }
    if (!peerIsThisUser(socket.socketDescriptor()))
        return {false, {QStringLiteral("%1 is served by another user").arg(socketPath(dir))}};
    if (reached)
        *reached = true;

    socket.write(request.toUtf8() + '\n');
    socket.flush();
    Answer answer{false, {}};
    QByteArray pending;
    // A command may take as long as the desktop programs take (restarting the desktop).
    const QDeadlineTimer replyDeadline(60000);
    for (;;) {
        while (socket.canReadLine()) {
            const QByteArray line = socket.readLine().chopped(1);
            if (line.startsWith("line "))
                answer.lines.append(QString::fromUtf8(line.mid(5)));
            else if (line == "done" || line == "failed")
                return {line == "done", answer.lines};
        }
        if (replyDeadline.hasExpired())
            break;
        // False once the instance hung up; what it wrote before is still read above.
        if (!socket.waitForReadyRead(1000) && socket.state() != QLocalSocket::ConnectedState &&
            !socket.canReadLine())
            break;
    }
    answer.lines.append(
        QStringLiteral("the running Quillet closed the connection without an answer"));
    return answer;
}
