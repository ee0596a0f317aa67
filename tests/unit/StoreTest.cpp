// The defaults store and the stored encodings of colours and picture paths.
#include "Codecs.h"
#include "DefaultsStore.h"
#include "TestDirs.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

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

TEST(DefaultsStore, unreadableFileIsMovedAsideNotOverwritten)
{
    TestDirs dirs;
    QDir().mkpath(QFileInfo(dirs.defaultsPath()).absolutePath());
    for (const QByteArray& broken : {QByteArray("{not json"), QByteArray("[1, 2]")}) {
        writeFile(dirs.defaultsPath(), broken);
        DefaultsStore store(dirs.defaultsPath());
        EXPECT_EQ(store.boolValue(StoredKeys::showInDock), true);
        ASSERT_FALSE(store.movedAsidePath().isEmpty());
        EXPECT_TRUE(QFileInfo(store.movedAsidePath())
                        .fileName()
                        .startsWith(QStringLiteral("defaults.json.corrupt-")));
        EXPECT_EQ(readFile(store.movedAsidePath()), broken);
        store.setBool(StoredKeys::showInDock, false);
        EXPECT_EQ(readFile(store.movedAsidePath()), broken);
        QFile::remove(dirs.defaultsPath());
    }
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
