// The defaults store and the stored encodings of colours and picture paths.
#include "TestDirs.h"
#include "core/Codecs.h"
#include "core/DefaultsStore.h"
#include "core/ProblemLog.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <csignal>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace {

void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

constexpr QFileDevice::Permissions kModeBits =
    QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner |
    QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ExeGroup |
    QFileDevice::ReadOther | QFileDevice::WriteOther | QFileDevice::ExeOther;

// Messages the store wrote to the log since `before`.
QStringList reportedSince(qsizetype before)
{
    return ProblemLog::reported().mid(before);
}

// Root (as the tests often run) reads and writes past file modes; for the duration of a scope
// the process gives up that override so that modes mean what they mean for a user.
class FileModesApply final {
public:
    FileModesApply()
    {
        m_header.version = _LINUX_CAPABILITY_VERSION_3;
        if (syscall(SYS_capget, &m_header, m_saved) != 0)
            return;
        __user_cap_data_struct reduced[2] = {m_saved[0], m_saved[1]};
        reduced[0].effective &= ~((1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH));
        m_changed = syscall(SYS_capset, &m_header, reduced) == 0;
    }
    ~FileModesApply()
    {
        if (m_changed)
            syscall(SYS_capset, &m_header, m_saved);
    }

private:
    __user_cap_header_struct m_header{};
    __user_cap_data_struct m_saved[2]{};
    bool m_changed = false;
};

} // namespace

TEST(DefaultsStore, acceptsOnlyValuesOfTheKeysType)
{
    TestDirs dirs;
    QDir().mkpath(QFileInfo(dirs.defaultsPath()).absolutePath());
    writeFile(dirs.defaultsPath(), R"({"pref.showInDock": "false", "pref.restoreOnLaunch": true,
        "pref.launchAtLogin": [true], "state.hiddenItemLabels": ["a", 3],
        "state.background": 7, "state.menuBarCover": "items"})");
    DefaultsStore store(dirs.defaultsPath());

    // A string "false" is not a boolean: the default (true) holds.
    EXPECT_EQ(store.boolValue(StoredKeys::showInDock), true);
    EXPECT_EQ(store.boolValue(StoredKeys::restoreOnLaunch), true);
    EXPECT_EQ(store.boolValue(StoredKeys::launchAtLogin), false);
    // Absent keys without a default read as nothing.
    EXPECT_EQ(store.stringValue(StoredKeys::backgroundColor), std::nullopt);
    EXPECT_EQ(store.stringValue(StoredKeys::background), std::nullopt);
    EXPECT_EQ(store.stringValue(StoredKeys::menuBarCover), QStringLiteral("items"));
    // A list with one non-string element is not a list of strings.
    EXPECT_EQ(store.stringListValue(StoredKeys::hiddenItemLabels), std::nullopt);
}

TEST(DefaultsStore, writesAtomicallyPrivatelyAndReadsBack)
{
    TestDirs dirs;
    {
        DefaultsStore store(dirs.defaultsPath());
        store.setBool(StoredKeys::desktopIconsHidden, true);
        store.setStringList(StoredKeys::hiddenItemLabels,
                            {QStringLiteral("Clock"), QStringLiteral("yad 2")});
        store.setString(StoredKeys::lightWallpaperURL, QStringLiteral("/tmp/x.png"));
        store.remove(StoredKeys::lightWallpaperURL);
    }
    const QFileInfo info(dirs.defaultsPath());
    ASSERT_TRUE(info.exists());
    EXPECT_EQ(info.permissions() & (QFileDevice::ReadGroup | QFileDevice::ReadOther |
                                    QFileDevice::WriteGroup | QFileDevice::WriteOther),
              QFileDevice::Permissions());
    const QJsonObject json = QJsonDocument::fromJson(readFile(dirs.defaultsPath())).object();
    EXPECT_EQ(json.value(QStringLiteral("state.desktopIconsHidden")), QJsonValue(true));
    EXPECT_FALSE(json.contains(QStringLiteral("lightWallpaperURL")));

    DefaultsStore reopened(dirs.defaultsPath());
    EXPECT_EQ(reopened.stringListValue(StoredKeys::hiddenItemLabels),
              QStringList({QStringLiteral("Clock"), QStringLiteral("yad 2")}));
}

TEST(DefaultsStore, inTheBackgroundRecordsStillComeFirstAndTheLatestStateWins)
{
    TestDirs dirs;
    const auto onDisk = [&] {
        return QJsonDocument::fromJson(readFile(dirs.defaultsPath())).object();
    };
    DefaultsStore store(dirs.defaultsPath());
    store.writeInBackground();
    // A record is on disk when the call returns, whatever the writer thread is doing.
    store.setValue(StoredKeys::originalDisplayModes,
                   QJsonObject{{QStringLiteral("DP-1"), QStringLiteral("1920x1080")}});
    EXPECT_TRUE(onDisk().contains(QStringLiteral("display.originalModes")));

    // Changes from two threads at once: whichever write ends last, the file holds the final
    // state, never an older one.
    std::thread other([&] {
        for (int i = 0; i < 200; ++i)
            store.setString(StoredKeys::backgroundColor, QString::number(i));
    });
    for (int i = 0; i < 200; ++i)
        store.setStringList(StoredKeys::hiddenItemLabels, {QString::number(i)});
    other.join();
    store.remove(StoredKeys::originalDisplayModes);
    store.flush();
    const QJsonObject json = onDisk();
    EXPECT_EQ(json.value(QStringLiteral("state.backgroundColor")),
              QJsonValue(QStringLiteral("199")));
    EXPECT_EQ(json.value(QStringLiteral("state.hiddenItemLabels")),
              QJsonArray({QStringLiteral("199")}));
    EXPECT_FALSE(json.contains(QStringLiteral("display.originalModes")));
}

TEST(DefaultsStore, damagedFilesAreMovedAsideWithTheirBytesAndReportedOnce)
{
    TestDirs dirs;
    QDir().mkpath(QFileInfo(dirs.defaultsPath()).absolutePath());
    const QByteArray deep = QByteArray(100000, '[') + QByteArray(100000, ']');
    const struct {
        QByteArray bytes;
        const char* reason;
    } cases[] = {
        {R"({"pref.showInDock": false, "state.hidd)", "not valid JSON"},
        {"{\"state.background\": \"\xff\xfe\xc3\x28\"}", "not valid UTF-8"},
        {deep, "not valid JSON"},
        {"[1, 2]", "not an object"},
        {"", "not valid JSON"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.bytes.left(40).toStdString());
        writeFile(dirs.defaultsPath(), c.bytes);
        const qsizetype before = ProblemLog::reported().size();
        DefaultsStore store(dirs.defaultsPath());
        EXPECT_EQ(store.boolValue(StoredKeys::showInDock), true);
        ASSERT_FALSE(store.movedAsidePath().isEmpty());
        EXPECT_TRUE(QFileInfo(store.movedAsidePath())
                        .fileName()
                        .startsWith(QStringLiteral("defaults.json.corrupt-")));
        EXPECT_EQ(readFile(store.movedAsidePath()), c.bytes);
        // Later writes make a new store and never touch the one moved aside.
        store.setBool(StoredKeys::showInDock, false);
        store.setBool(StoredKeys::showInDock, true);
        EXPECT_EQ(readFile(store.movedAsidePath()), c.bytes);
        EXPECT_TRUE(QJsonDocument::fromJson(readFile(dirs.defaultsPath())).isObject());
        const QStringList said = reportedSince(before);
        ASSERT_EQ(said.size(), 1) << said.join(u'\n').toStdString();
        EXPECT_TRUE(said[0].contains(QLatin1String(c.reason))) << said[0].toStdString();
        EXPECT_TRUE(said[0].contains(store.movedAsidePath()));
        QFile::remove(store.movedAsidePath());
        QFile::remove(dirs.defaultsPath());
    }
}

// A folder or a dangling link in the store's place is checked on a real desktop; an unreadable
// file needs the file modes to apply even to root.
TEST(DefaultsStore, anUnreadableStoreIsLeftInPlaceAndNeverWritten)
{
    TestDirs dirs;
    const QString path = dirs.defaultsPath();
    QDir().mkpath(QFileInfo(path).absolutePath());
    writeFile(path, R"({"pref.showInDock": true})");
    QFile::setPermissions(path, QFileDevice::Permissions());
    {
        FileModesApply modes;
        const qsizetype before = ProblemLog::reported().size();
        DefaultsStore store(path);
        EXPECT_EQ(store.boolValue(StoredKeys::showInDock), true);
        EXPECT_TRUE(store.movedAsidePath().isEmpty());
        store.setBool(StoredKeys::showInDock, false);
        store.setBool(StoredKeys::restoreOnLaunch, true);
        EXPECT_EQ(QFileInfo(path).permissions() & kModeBits, QFileDevice::Permissions());
        // The choice holds for this run even though it is not saved.
        EXPECT_EQ(store.boolValue(StoredKeys::showInDock), false);
        const QStringList said = reportedSince(before);
        ASSERT_EQ(said.size(), 1) << said.join(u'\n').toStdString();
        EXPECT_TRUE(said[0].contains(QLatin1String("cannot be opened (Permission denied)")))
            << said[0].toStdString();
    }
    QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    EXPECT_EQ(readFile(path), R"({"pref.showInDock": true})");
}

TEST(DefaultsStore, failedWritesKeepTheEarlierFileAndAreReportedOnce)
{
    TestDirs dirs;
    const QString folder = QFileInfo(dirs.defaultsPath()).absolutePath();
    {
        DefaultsStore store(dirs.defaultsPath());
        store.setBool(StoredKeys::showInDock, false);
    }
    const QByteArray earlier = readFile(dirs.defaultsPath());

    // A read-only folder.
    {
        QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
        FileModesApply modes;
        DefaultsStore store(dirs.defaultsPath());
        const qsizetype before = ProblemLog::reported().size();
        for (int i = 0; i < 3; ++i)
            store.setBool(StoredKeys::restoreOnLaunch, i % 2);
        const QStringList said = reportedSince(before);
        ASSERT_EQ(said.size(), 1) << said.join(u'\n').toStdString();
        EXPECT_TRUE(
            said[0].contains(QStringLiteral("no file can be written in the folder %1").arg(folder)))
            << said[0].toStdString();
    }
    QFile::setPermissions(folder,
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    EXPECT_EQ(readFile(dirs.defaultsPath()), earlier);

    // A disk that fills up while writing: the file size limit makes every write fail midway.
    {
        DefaultsStore store(dirs.defaultsPath());
        rlimit saved{};
        getrlimit(RLIMIT_FSIZE, &saved);
        const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
        rlimit small = saved;
        small.rlim_cur = 8;
        setrlimit(RLIMIT_FSIZE, &small);
        const qsizetype before = ProblemLog::reported().size();
        for (int i = 0; i < 3; ++i)
            store.setString(StoredKeys::menuBarCover, QStringLiteral("entire"));
        setrlimit(RLIMIT_FSIZE, &saved);
        std::signal(SIGXFSZ, oldHandler);
        const QStringList said = reportedSince(before);
        ASSERT_EQ(said.size(), 1) << said.join(u'\n').toStdString();
        EXPECT_TRUE(said[0].startsWith(
            QStringLiteral("cannot save settings to %1").arg(dirs.defaultsPath())))
            << said[0].toStdString();
        EXPECT_EQ(readFile(dirs.defaultsPath()), earlier);
        // Once writing works again, a later failure is news again.
        store.setString(StoredKeys::menuBarCover, QStringLiteral("items"));
        EXPECT_TRUE(QJsonDocument::fromJson(readFile(dirs.defaultsPath()))
                        .object()
                        .contains(QStringLiteral("state.menuBarCover")));
    }
    EXPECT_EQ(QDir(folder).entryList(QDir::Files | QDir::Hidden).size(), 1)
        << "no temporary files are left behind";
}

TEST(Codecs, hexRoundsHalvesAwayFromZeroWithoutClamping)
{
    EXPECT_EQ(Codecs::hex({1, 0, 0, 1}), QStringLiteral("#FF0000"));
    EXPECT_EQ(Codecs::hex({30 / 255.0, 144 / 255.0, 1, 0.2}), QStringLiteral("#1E90FF"));
    // 0.5 × 255 = 127.5 → 128.
    EXPECT_EQ(Codecs::hex({0.5, 0, 0, 1}), QStringLiteral("#800000"));
    EXPECT_EQ(Codecs::hex({1.5 / 255.0, 0, 0, 1}), QStringLiteral("#020000"));
    // Outside sRGB: more digits, not clamped.
    EXPECT_EQ(Codecs::hex({2.0, 0, 0, 1}), QStringLiteral("#1FE0000"));
    EXPECT_EQ(Codecs::hex({-1 / 255.0, 0, 0, 1}), QStringLiteral("#FFFFFFFF0000"));
    // Beyond the 64-bit range the number saturates (found by the fuzzer: the conversion
    // overflowed).
    EXPECT_EQ(Codecs::hex({1e300, 0, 0, 1}), QStringLiteral("#FFFFFFFF0000"));
    EXPECT_EQ(Codecs::hex({0, 1.7e308, 0, 1}), QStringLiteral("#00FFFFFFFF00"));
}

TEST(Codecs, colorFromHexReadsLeadingHexDigits)
{
    const RgbColor red{1, 0, 0, 1};
    EXPECT_EQ(Codecs::colorFromHex(QStringLiteral("#FF0000")), red);
    EXPECT_EQ(Codecs::colorFromHex(QStringLiteral("FF0000")), red);
    EXPECT_EQ(Codecs::colorFromHex(QStringLiteral("zz")), (RgbColor{0, 0, 0, 1}));
    EXPECT_EQ(Codecs::colorFromHex(QStringLiteral("#")), (RgbColor{0, 0, 0, 1}));
    // Reading stops at the first non-digit; white space and "0x" are skipped first.
    EXPECT_EQ(Codecs::colorFromHex(QStringLiteral("#ff00zz")), (RgbColor{0, 1, 0, 1}));
    EXPECT_EQ(Codecs::colorFromHex(QStringLiteral("  0x0000ff")), (RgbColor{0, 0, 1, 1}));
    // A longer number keeps its lowest 24 bits of colour.
    EXPECT_EQ(Codecs::colorFromHex(QStringLiteral("#12FF0000")), red);
    // Beyond 64 bits the scanner saturates: all ones.
    EXPECT_EQ(Codecs::colorFromHex(QStringLiteral("#123456789abcdef0123")), (RgbColor{1, 1, 1, 1}));
    // The number sign is dropped only once, at the start.
    EXPECT_EQ(Codecs::colorFromHex(QStringLiteral("##FF0000")), (RgbColor{0, 0, 0, 1}));
}
