// The lock is a flock() on a file in the private folder; requests are one line each way over a
// Unix socket in the same folder, and both ends check that the other runs as this user. The
// socket is a plain one watched by the event loop: Qt's network module would cost every launch
// the time to load it.
#include "SingleInstance.h"

#include "AppLogging.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QSocketNotifier>
#include <QThread>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
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

bool peerIsThisUser(int descriptor)
{
    ucred peer{};
    socklen_t size = sizeof(peer);
    return ::getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
           peer.uid == ::getuid();
}

// The folder check made sure the path fits.
sockaddr_un unixAddress(const QByteArray& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.constData(),
                std::min(std::size_t(path.size()), sizeof(address.sun_path) - 1));
    return address;
}

QString lastError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

// Waits up to `deadline` for `events` on `descriptor`; false on time-out or error.
bool waitFor(int descriptor, short events, const QDeadlineTimer& deadline)
{
    for (;;) {
        pollfd watched{descriptor, events, 0};
        const int ready =
            ::poll(&watched, 1, int(std::clamp<qint64>(deadline.remainingTime(), 0, 60000)));
        if (ready > 0)
            return true;
        if (ready == 0 || errno != EINTR)
            return false;
    }
}

// Closes its descriptor when it goes.
struct Descriptor {
    int fd = -1;
    ~Descriptor()
    {
        if (fd >= 0)
            ::close(fd);
    }
};

int openLockFile(const QString& folder)
{
    return ::open(QFile::encodeName(lockPath(folder)).constData(),
                  O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
}
} // namespace

// One connection to the running instance: a request line in, the answer out, then it hangs up.
class SingleInstance::Client final : public QObject {
public:
    Client(int descriptor, SingleInstance* owner)
        : QObject(owner), m_fd(descriptor), m_owner(owner),
          m_read(new QSocketNotifier(descriptor, QSocketNotifier::Read, this)),
          m_write(new QSocketNotifier(descriptor, QSocketNotifier::Write, this))
    {
        m_write->setEnabled(false);
        connect(m_read, &QSocketNotifier::activated, this, &Client::readRequest);
        connect(m_write, &QSocketNotifier::activated, this, &Client::writeAnswer);
    }
    ~Client() override
    {
        delete m_read;
        delete m_write;
        ::close(m_fd);
    }

private:
    void readRequest()
    {
        bool ended = false;
        char chunk[1024];
        for (;;) {
            const ssize_t got = ::read(m_fd, chunk, sizeof(chunk));
            if (got > 0) {
                m_request.append(chunk, got);
                if (m_request.size() > kMaxRequestBytes)
                    return finish();
                continue;
            }
            if (got < 0 && errno == EINTR)
                continue;
            // Anything but "nothing more for now" means the sender has gone.
            ended = got == 0 || (errno != EAGAIN && errno != EWOULDBLOCK);
            break;
        }
        const qsizetype end = m_request.indexOf('\n');
        if (end < 0) {
            if (ended)
                finish();
            return;
        }
        m_read->setEnabled(false);
        const QString request = QString::fromUtf8(m_request.left(end)).trimmed();
        qCDebug(lcApp, "request: %s", qUtf8Printable(request));
        Answer answer;
        if (m_owner->m_handler)
            answer = m_owner->m_handler(request);
        else
            answer = {false, {QStringLiteral("Quillet is still starting")}};
        for (const QString& line : std::as_const(answer.lines))
            m_reply += "line " + line.toUtf8().replace('\n', ' ') + '\n';
        m_reply += answer.done ? "done\n" : "failed\n";
        writeAnswer();
    }

    void writeAnswer()
    {
        while (!m_reply.isEmpty()) {
            const ssize_t sent = ::send(m_fd, m_reply.constData(), m_reply.size(), MSG_NOSIGNAL);
            if (sent > 0) {
                m_reply.remove(0, sent);
                continue;
            }
            if (sent < 0 && errno == EINTR)
                continue;
            if (sent < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
                // A long answer to a slow reader: the rest goes when it has room.
                m_write->setEnabled(true);
                return;
            }
            break;
        }
        finish();
    }

    void finish()
    {
        m_read->setEnabled(false);
        m_write->setEnabled(false);
        deleteLater();
    }

    int m_fd;
    SingleInstance* m_owner;
    QSocketNotifier* m_read;
    QSocketNotifier* m_write;
    QByteArray m_request;
    QByteArray m_reply;
};

SingleInstance::SingleInstance(QObject* parent) : QObject(parent) {}

SingleInstance::~SingleInstance()
{
    stopListening();
    // The lock stays held until the process has ended (the kernel drops it then): a
    // `quillet --quit` that waits for the lock returns only once this process is gone, and a
    // new launch never overlaps the end of this one. The descriptor is close-on-exec, so no
    // program started from here inherits it.
}

void SingleInstance::stopListening()
{
    if (m_serverFd < 0)
        return;
    delete m_serverNotifier;
    m_serverNotifier = nullptr;
    ::close(m_serverFd);
    m_serverFd = -1;
    // Connections already taken are answered; new ones find no socket.
    ::unlink(m_socketPath.constData());
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
    if (m_serverFd >= 0)
        return true;
    const QByteArray path = QFile::encodeName(socketPath(dir));
    const sockaddr_un address = unixAddress(path);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    // We hold the lock, so a socket file here is a leftover of a run that ended without
    // cleaning up: nobody answers on it.
    ::unlink(path.constData());
    if (fd < 0 || ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        ::chmod(path.constData(), 0600) != 0 || ::listen(fd, SOMAXCONN) != 0) {
        qCWarning(lcApp, "Quillet: cannot listen on %s: %s", path.constData(),
                  qUtf8Printable(lastError()));
        if (fd >= 0)
            ::close(fd);
        return false;
    }
    m_serverFd = fd;
    m_socketPath = path;
    m_serverNotifier = new QSocketNotifier(fd, QSocketNotifier::Read, this);
    connect(m_serverNotifier, &QSocketNotifier::activated, this, &SingleInstance::acceptClients);
    // A Quillet that is putting the desktop back takes no more requests; a launch meanwhile
    // waits for the lock instead of for an answer that would never come.
    connect(qApp, &QCoreApplication::aboutToQuit, this, &SingleInstance::stopListening);
    return true;
}

void SingleInstance::acceptClients()
{
    for (;;) {
        const int fd = ::accept4(m_serverFd, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (fd < 0) {
            if (errno == EINTR)
                continue;
            return;
        }
        if (!peerIsThisUser(fd)) {
            qCWarning(lcApp, "Quillet: refused a request from another user");
            ::close(fd);
            continue;
        }
        new Client(fd, this);
    }
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
    const QByteArray path = QFile::encodeName(socketPath(dir));
    const sockaddr_un address = unixAddress(path);
    const QDeadlineTimer deadline(timeoutMs);
    Descriptor socket;
    for (;;) {
        socket.fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        if (socket.fd >= 0 &&
            ::connect(socket.fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0)
            break;
        if (socket.fd >= 0)
            ::close(socket.fd);
        socket.fd = -1;
        if (deadline.hasExpired())
            return {
                false,
                {QStringLiteral("the running Quillet does not answer on %1").arg(socketPath(dir))}};
        QThread::msleep(100);
    }
    if (!peerIsThisUser(socket.fd))
        return {false, {QStringLiteral("%1 is served by another user").arg(socketPath(dir))}};
    if (reached)
        *reached = true;

    // A command may take as long as the desktop programs take (restarting the desktop).
    const QDeadlineTimer replyDeadline(60000);
    const QByteArray line = request.toUtf8() + '\n';
    for (qsizetype written = 0; written < line.size();) {
        const ssize_t sent =
            ::send(socket.fd, line.constData() + written, line.size() - written, MSG_NOSIGNAL);
        if (sent > 0)
            written += sent;
        else if (sent < 0 && errno != EINTR &&
                 !((errno == EAGAIN || errno == EWOULDBLOCK) &&
                   waitFor(socket.fd, POLLOUT, replyDeadline)))
            return {false, {QStringLiteral("cannot send to the running Quillet: ") + lastError()}};
    }

    Answer answer{false, {}};
    QByteArray pending;
    char chunk[4096];
    for (;;) {
        const ssize_t got = ::read(socket.fd, chunk, sizeof(chunk));
        if (got > 0) {
            pending.append(chunk, got);
            for (qsizetype end; (end = pending.indexOf('\n')) >= 0;) {
                const QByteArray received = pending.left(end);
                pending.remove(0, end + 1);
                if (received.startsWith("line "))
                    answer.lines.append(QString::fromUtf8(received.mid(5)));
                else if (received == "done" || received == "failed")
                    return {received == "done", answer.lines};
            }
            continue;
        }
        if (got < 0 && errno == EINTR)
            continue;
        // The instance hung up, or has said nothing within the time a command may take.
        if (got == 0 || (errno != EAGAIN && errno != EWOULDBLOCK) ||
            !waitFor(socket.fd, POLLIN, replyDeadline))
            break;
    }
    answer.lines.append(
        QStringLiteral("the running Quillet closed the connection without an answer"));
    return answer;
}
