// GNOME's desktop icons extension, hidden by switching it off in disabled-extensions: what is
// recorded before the change, the user's exact text (or an unset key) put back on "Show", by the
// next launch after a crash, and a key the user changed meanwhile keeping their change.
#include "platform/GnomeExtensionIcons.h"

#include "TestDirs.h"
#include "core/DesktopIcons.h"
#include "platform/GVariantText.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

namespace {

const QString kKey = QStringLiteral("/org/gnome/shell/disabled-extensions");
const QString kUuid = QStringLiteral("ding@rastersoft.com");

// dconf's read, write and reset over one database of GVariant texts.
class FakeDconf final : public CommandOutput {
public:
    QMap<QString, QString> db;
    QStringList calls;
    // Any call whose command line contains this fails.
    QString failing;

    Output run(const QString& program, const QStringList& arguments) override
    {
        calls.append(arguments.join(u' '));
        if (!program.endsWith(QLatin1String("dconf")) ||
            (!failing.isEmpty() && calls.last().contains(failing)))
            return std::nullopt;
        const QString verb = arguments.value(0);
        if (verb == QLatin1String("read"))
            return db.contains(arguments[1]) ? (db.value(arguments[1]) + u'\n').toUtf8()
                                             : QByteArray();
        if (verb == QLatin1String("write"))
            db.insert(arguments[1], arguments[2]);
        else if (verb == QLatin1String("reset"))
            db.remove(arguments[1]);
        return QByteArray();
    }
    Output runWithInput(const QString& program, const QStringList& arguments,
                        const QByteArray&) override
    {
        return run(program, arguments);
    }
    void runAsync(QObject*, const QString& program, const QStringList& arguments,
                  std::function<void(Output)> done) override
    {
        done(run(program, arguments));
    }
};

struct ExtensionIconsFixture : ::testing::Test {
    TestDirs dirs;
    FakeDconf dconf;
    QString recordDir = dirs.dataHome() + QStringLiteral("/Quillet");
    QString record = recordDir + QStringLiteral("/icons-gnome-extension.json");

    bool write(GnomeExtensionIcons& icons, DesktopIconsBackend::Style style)
    {
        bool written = false;
        icons.writeStyle(style, [&](bool ok) { written = ok; });
        return written;
    }
    DesktopIconsBackend::ReadResult read(GnomeExtensionIcons& icons)
    {
        DesktopIconsBackend::ReadResult found;
        icons.readStyle([&](DesktopIconsBackend::ReadResult r) { found = r; });
        return found;
    }
    std::optional<QStringList> disabled() const
    {
        return dconf.db.contains(kKey) ? GVariantText::strings(dconf.db.value(kKey))
                                       : std::optional<QStringList>(QStringList());
    }
};

} // namespace

TEST_F(ExtensionIconsFixture, hideRecordsFirstAndShowPutsBackTheExactText)
{
    // The user keeps another extension off, in their own spelling of the list.
    const QString own = QStringLiteral("[\"tiling@example.org\"]");
    dconf.db.insert(kKey, own);
    GnomeExtensionIcons icons(kUuid, recordDir, dconf);
    int switchedOn = 0;
    icons.onSwitchedOn([&] { ++switchedOn; });
    EXPECT_EQ(read(icons), DesktopIconsBackend::ReadResult(DesktopIconsBackend::Style()));
    EXPECT_FALSE(icons.holdsRecord());

    // The record is on disk when the key changes.
    dconf.failing = QStringLiteral("write");
    EXPECT_FALSE(write(icons, icons.hiddenStyle()));
    EXPECT_EQ(dconf.db.value(kKey), own);
    EXPECT_FALSE(QFile::exists(record)) << "nothing changed, nothing to put back";
    dconf.failing.clear();

    ASSERT_TRUE(write(icons, icons.hiddenStyle()));
    EXPECT_EQ(disabled(), QStringList({QStringLiteral("tiling@example.org"), kUuid}));
    EXPECT_TRUE(QFile::exists(record));
    EXPECT_TRUE(icons.holdsRecord());
    EXPECT_EQ(read(icons), DesktopIconsBackend::ReadResult(icons.hiddenStyle()));
    // Hiding twice adds no second entry.
    ASSERT_TRUE(write(icons, icons.hiddenStyle()));
    EXPECT_EQ(disabled()->count(kUuid), 1);

    // A key that cannot be put back keeps its record.
    dconf.failing = QStringLiteral("write");
    EXPECT_FALSE(write(icons, icons.shownStyle()));
    EXPECT_TRUE(icons.holdsRecord());
    EXPECT_EQ(switchedOn, 0);
    dconf.failing.clear();
    ASSERT_TRUE(write(icons, icons.shownStyle()));
    EXPECT_EQ(dconf.db.value(kKey), own);
    EXPECT_FALSE(QFile::exists(record));
    EXPECT_FALSE(icons.holdsRecord());
    // The desktop is told at once that the extension runs again.
    EXPECT_EQ(switchedOn, 1);

    // A key nobody set is unset again; another desktop's style is not ours to write.
    dconf.db.clear();
    ASSERT_TRUE(write(icons, icons.hiddenStyle()));
    EXPECT_EQ(dconf.db.value(kKey), QStringLiteral("['ding@rastersoft.com']"));
    ASSERT_TRUE(write(icons, icons.shownStyle()));
    EXPECT_FALSE(dconf.db.contains(kKey));
    EXPECT_FALSE(write(icons, 1004));
    EXPECT_TRUE(dconf.db.isEmpty());
}

TEST_F(ExtensionIconsFixture, changesTheUserMadeMeanwhileStay)
{
    GnomeExtensionIcons icons(kUuid, recordDir, dconf);
    dconf.db.insert(kKey, QStringLiteral("@as []"));
    ASSERT_TRUE(write(icons, icons.hiddenStyle()));
    // The user switched another extension off meanwhile: only our entry leaves.
    dconf.db.insert(kKey, QStringLiteral("['ding@rastersoft.com', 'tiling@example.org']"));
    ASSERT_TRUE(write(icons, icons.shownStyle()));
    EXPECT_EQ(disabled(), QStringList{QStringLiteral("tiling@example.org")});
    EXPECT_FALSE(icons.holdsRecord());

    // The user switched the extension back on themselves: the key stays as they left it.
    dconf.db.insert(kKey, QStringLiteral("['tiling@example.org']"));
    ASSERT_TRUE(write(icons, icons.hiddenStyle()));
    dconf.db.insert(kKey, QStringLiteral("['other@example.org']"));
    dconf.calls.clear();
    ASSERT_TRUE(write(icons, icons.shownStyle()));
    EXPECT_EQ(dconf.db.value(kKey), QStringLiteral("['other@example.org']"));
    EXPECT_TRUE(dconf.calls.filter(QStringLiteral("write")).isEmpty());
    EXPECT_FALSE(icons.holdsRecord());

    // The user had it off already: "Show" switches it on, as asked, and keeps the rest.
    dconf.db.insert(kKey, QStringLiteral("['ding@rastersoft.com', 'tiling@example.org']"));
    EXPECT_EQ(read(icons), DesktopIconsBackend::ReadResult(icons.hiddenStyle()));
    ASSERT_TRUE(write(icons, icons.shownStyle()));
    EXPECT_EQ(disabled(), QStringList{QStringLiteral("tiling@example.org")});

    // Unreadable: nothing is changed, nor recorded.
    dconf.db.insert(kKey, QStringLiteral("['broken"));
    EXPECT_FALSE(read(icons));
    EXPECT_FALSE(write(icons, icons.hiddenStyle()));
    dconf.failing = QStringLiteral("read");
    EXPECT_FALSE(write(icons, icons.hiddenStyle()));
    EXPECT_FALSE(QFile::exists(record));
}

TEST_F(ExtensionIconsFixture, aKilledRunIsPutBackByTheNextLaunch)
{
    const QString own = QStringLiteral("['tiling@example.org']");
    dconf.db.insert(kKey, own);
    const QString iconStyle = recordDir + QStringLiteral("/icon-style.json");
    {
        auto icons = std::make_unique<GnomeExtensionIcons>(kUuid, recordDir, dconf);
        DesktopIcons switcher(*icons, iconStyle);
        switcher.setHidden(true);
        ASSERT_TRUE(switcher.isSettled());
        EXPECT_TRUE(disabled()->contains(kUuid));
        // Killed here: neither restore nor quit runs.
    }
    GnomeExtensionIcons icons(kUuid, recordDir, dconf);
    EXPECT_TRUE(icons.holdsRecord()) << "the extension is still ours to switch back on";
    DesktopIcons switcher(icons, iconStyle);
    EXPECT_TRUE(switcher.didHide());
    switcher.restore();
    ASSERT_TRUE(switcher.isSettled());
    EXPECT_EQ(dconf.db.value(kKey), own);
    EXPECT_FALSE(QFile::exists(record));
    EXPECT_FALSE(QFile::exists(iconStyle));
}

TEST(GVariantText, stringArraysRoundTrip)
{
    for (const QStringList& items : {QStringList(), QStringList{QStringLiteral("a@b")},
                                     QStringList{QStringLiteral("it's"), QStringLiteral("x, y")}})
        EXPECT_EQ(GVariantText::strings(GVariantText::stringArray(items)), items);
    EXPECT_EQ(GVariantText::strings(QStringLiteral("[\"a\", 'b']")),
              QStringList({QStringLiteral("a"), QStringLiteral("b")}));
    EXPECT_FALSE(GVariantText::strings(QString()));
    EXPECT_FALSE(GVariantText::strings(QStringLiteral("['a' 'b']")));
}
