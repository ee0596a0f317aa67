// The channel between launches: one running instance per user, each request answered line by
// line, and a sender that is never left hanging when the other end drops a request.
#include "app/SingleInstance.h"

#include "TestDirs.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

int modeOf(const QString& path)
{
    struct stat info {};
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? int(info.st_mode & 0777) : -1;
}

struct Channel : ::testing::Test {
    int argc = 1;
    char name[21] = "test_single_instance";
    char* argv[2] = {name, nullptr};
    QCoreApplication app{argc, argv};
    TestDirs dirs;
    QString socketPath = dirs.root() + QStringLiteral("/runtime/quillet/instance.socket");

    // Sends from another thread while this one's event loop serves the request.
    static SingleInstance::Answer sendServed(const QString& request, bool* reached = nullptr)
    {
        auto answer = std::async(std::launch::async,
                                 [&] { return SingleInstance::send(request, 2000, reached); });
        while (answer.wait_for(std::chrono::milliseconds(0)) != std::future_status::ready)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        return answer.get();
    }
};

} // namespace

TEST_F(Channel, theRunningInstanceHoldsTheLockAndAnswersEachRequest)
{
    EXPECT_FALSE(SingleInstance::isRunning());
    auto instance = std::make_unique<SingleInstance>();
    ASSERT_TRUE(instance->tryLock());
    EXPECT_TRUE(SingleInstance::isRunning());
    EXPECT_FALSE(SingleInstance().tryLock());
    EXPECT_EQ(modeOf(dirs.root() + QStringLiteral("/runtime/quillet")), 0700);

    // Nobody listens yet: the sender gives up at its deadline and says where it knocked.
    bool reached = true;
    SingleInstance::Answer answer = SingleInstance::send(QStringLiteral("status"), 300, &reached);
    EXPECT_FALSE(reached);
    EXPECT_FALSE(answer.done);
    ASSERT_EQ(answer.lines.size(), 1);
    EXPECT_TRUE(answer.lines[0].contains(socketPath)) << answer.lines[0].toStdString();

    // A socket a crashed run left behind does not keep the next one from listening.
    const int stale = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, QFile::encodeName(socketPath).constData(), sizeof(address.sun_path));
    ASSERT_EQ(::bind(stale, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    ::close(stale);
    ASSERT_TRUE(instance->listen());
    EXPECT_EQ(modeOf(socketPath), 0600);

    answer = sendServed(QStringLiteral("status"), &reached);
    EXPECT_TRUE(reached);
    EXPECT_FALSE(answer.done);
    EXPECT_EQ(answer.lines, QStringList{QStringLiteral("Quillet is still starting")});

    instance->setHandler([](const QString& request) {
        return SingleInstance::Answer{
            request != QLatin1String("fail"),
            {QStringLiteral("got ") + request, QStringLiteral("two\nlines")}};
    });
    answer = sendServed(QStringLiteral("  toggle \n"));
    EXPECT_TRUE(answer.done);
    EXPECT_EQ(answer.lines,
              (QStringList{QStringLiteral("got toggle"), QStringLiteral("two lines")}));
    EXPECT_FALSE(sendServed(QStringLiteral("fail")).done);

    // Once the instance is gone, so is its socket.
    instance.reset();
    EXPECT_FALSE(QFileInfo::exists(socketPath));
}

TEST_F(Channel, aLongAnswerArrivesWholeAndAnOversizedRequestGetsNone)
{
    SingleInstance instance;
    ASSERT_TRUE(instance.tryLock());
    ASSERT_TRUE(instance.listen());
    // Far more than a socket buffer holds: the rest goes out as the sender reads.
    const QString line(100, u'x');
    constexpr int kLines = 20000;
    instance.setHandler([&](const QString&) {
        return SingleInstance::Answer{true, QStringList(kLines, line)};
    });
    SingleInstance::Answer answer = sendServed(QStringLiteral("windows"));
    EXPECT_TRUE(answer.done);
    EXPECT_EQ(answer.lines.size(), kLines);
    EXPECT_EQ(answer.lines.value(kLines - 1), line);

    bool reached = false;
    answer = sendServed(QString(5000, u'r'), &reached);
    EXPECT_TRUE(reached);
    EXPECT_FALSE(answer.done);
    EXPECT_TRUE(answer.lines.value(0).contains(QLatin1String("without an answer")));
    // The instance still takes the next request.
    EXPECT_TRUE(sendServed(QStringLiteral("status")).done);
}
