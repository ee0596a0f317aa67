// The command line's parsing and the checks outside requests pass before they reach the model:
// usage errors, bad values that change nothing, hidden labels set by toggles, change signals.
#include "app/RemoteControl.h"

#include "FakeApp.h"
#include "app/CommandLine.h"

#include <QFile>
#include <QSignalSpy>
#include <gtest/gtest.h>

namespace {

CommandLine parse(QStringList arguments)
{
    arguments.prepend(QStringLiteral("quillet"));
    return CommandLine::parse(arguments);
}

struct RemoteFixture : ::testing::Test, FakeApp {
    int shown = 0;
    int quits = 0;
    std::unique_ptr<RemoteControl> control;

    RemoteFixture()
    {
        for (const quint32 id : {11u, 12u}) {
            WindowListEntry entry;
            entry.layer = 25;
            entry.number = id;
            entry.bounds = QRectF(1300 + 30 * (id - 11), 1, 22, 22);
            entry.ownerName = QStringLiteral("app%1").arg(id);
            fake.windowList->entries.append(entry);
        }
        makeModel();
        model->refreshMenuBarItems();
        control = std::make_unique<RemoteControl>(
            *model, *preferences, [this] { ++shown; }, [this] { ++quits; });
    }
    ~RemoteFixture() override { control.reset(); }

    QByteArray storedFile() const
    {
        QFile file(dirs.defaultsPath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
};

} // namespace

TEST(CommandLineTest, outcomes)
{
    EXPECT_EQ(parse({}).outcome, CommandLine::Outcome::run);
    EXPECT_EQ(parse({"--help"}).outcome, CommandLine::Outcome::help);
    EXPECT_EQ(parse({"-h"}).outcome, CommandLine::Outcome::help);
    EXPECT_EQ(parse({"--version"}).text, QStringLiteral("quillet " QUILLET_VERSION "\n"));
    EXPECT_EQ(parse({"--toggle"}).command, QStringLiteral("toggle"));
    EXPECT_EQ(parse({"--status"}).outcome, CommandLine::Outcome::command);
    EXPECT_TRUE(parse({"--hidden"}).hidden);
    // What the session manager adds when it restarts the program is Qt's to handle.
    EXPECT_EQ(parse({"-session", "10abc"}).outcome, CommandLine::Outcome::run);
}

TEST(CommandLineTest, usageErrorsNameTheProblem)
{
    const struct {
        QStringList arguments;
        const char* message;
    } cases[] = {
        {{"--frobnicate"}, "Unknown option 'frobnicate'"},
        {{"-x"}, "Unknown option 'x'"},
        {{"--enable", "--quit"}, "give one command at a time, not --enable and --quit"},
        {{"--status", "extra"}, "unexpected argument 'extra'"},
        {{"--hidden", "--show"}, "--hidden starts Quillet; it does not go with --show"},
        {{"--enable=yes"}, "Unexpected value after '--enable'"},
    };
    for (const auto& c : cases) {
        const CommandLine line = parse(c.arguments);
        EXPECT_EQ(line.outcome, CommandLine::Outcome::usageError)
            << qPrintable(c.arguments.join(' '));
        EXPECT_TRUE(line.text.contains(QLatin1String(c.message))) << qPrintable(line.text);
        EXPECT_TRUE(
            line.text.endsWith(QLatin1String("Try 'quillet --help' for more information.\n")));
    }
}

TEST_F(RemoteFixture, badValuesChangeNothing)
{
    control->writeProperty(QStringLiteral("BackgroundColor"), QStringLiteral("#102030"));
    const QByteArray before = storedFile();
    const QVariantMap properties = control->properties();
    QSignalSpy published(model.get(), &AppModel::published);

    const struct {
        const char* name;
        QVariant value;
        const char* message;
    } cases[] = {
        // (The usual refusals are also made over the bus on a real desktop.)
        {"Background", true, "Background takes a string, not a boolean"},
        {"BackgroundColor", QStringLiteral("#1020304"), "malformed colour"},
        {"BackgroundColor", QStringLiteral("#GG0000"), "malformed colour"},
        {"MenuBarCover", QStringLiteral(""), "unknown panel cover \"\""},
        {"DesktopIconsHidden", 1, "DesktopIconsHidden takes a boolean, not a number"},
        {"HiddenItemLabels", QStringList{QStringLiteral("app11"), QStringLiteral("ghost")},
         "no panel item is labelled \"ghost\"; the items now are \"app11\", \"app12\""},
        {"HiddenItemLabels", QStringLiteral("app11"), "takes a list of strings"},
    };
    for (const auto& c : cases) {
        const QString error = control->writeProperty(QLatin1String(c.name), c.value);
        EXPECT_TRUE(error.contains(QLatin1String(c.message)))
            << c.name << ": " << qPrintable(error);
    }
    // An unknown label makes the model look at the panel again, and nothing else.
    for (const QList<QVariant>& signal : published) {
        const auto field = signal.first().value<AppModel::Field>();
        EXPECT_TRUE(field == AppModel::Field::menuBarItems ||
                    field == AppModel::Field::selectedItemIDs);
    }
    EXPECT_EQ(control->properties(), properties);
    EXPECT_EQ(storedFile(), before);
}

TEST_F(RemoteFixture, valuesGoThroughTheModelAndAreAnnounced)
{
    QSignalSpy changed(control.get(), &RemoteControl::propertiesChanged);
    EXPECT_EQ(control->writeProperty(QStringLiteral("BackgroundColor"), QStringLiteral("#1e90ff")),
              QString());
    EXPECT_EQ(store.stringValue(StoredKeys::backgroundColor), QStringLiteral("#1E90FF"));
    EXPECT_EQ(control->writeProperty(QStringLiteral("Background"), QStringLiteral("color")),
              QString());
    EXPECT_EQ(model->background(), DesktopBackground::color);
    ASSERT_EQ(changed.size(), 2);
    EXPECT_EQ(changed.at(0).first().toMap(),
              (QVariantMap{{QStringLiteral("BackgroundColor"), QStringLiteral("#1E90FF")}}));

    // The same value again is stored again (as a click would) but announces nothing.
    control->writeProperty(QStringLiteral("Background"), QStringLiteral("color"));
    EXPECT_EQ(changed.size(), 2);

    control->toggle();
    EXPECT_FALSE(model->enabled());
    ASSERT_EQ(changed.size(), 3);
    EXPECT_EQ(changed.last().first().toMap(), (QVariantMap{{QStringLiteral("Enabled"), false}}));
    QStringList lines;
    EXPECT_TRUE(control->handleRequest(QStringLiteral("status"), lines));
    EXPECT_EQ(lines.first(), QStringLiteral("enabled: false"));
    EXPECT_TRUE(lines.contains(QStringLiteral("background-color: #1E90FF")));
    EXPECT_TRUE(control->handleRequest(QStringLiteral("enable"), lines));
    EXPECT_TRUE(model->enabled());
    EXPECT_FALSE(control->handleRequest(QStringLiteral("format-disk"), lines));
    EXPECT_EQ(lines, QStringList{QStringLiteral("unknown request \"format-disk\"")});
    EXPECT_TRUE(control->handleRequest(QStringLiteral("show"), lines));
    EXPECT_TRUE(control->handleRequest(QStringLiteral("reopen"), lines));
    EXPECT_EQ(shown, 2);
}

TEST_F(RemoteFixture, hiddenLabelsAreSetByTogglingItems)
{
    // A stored label of an item that is not in the panel now.
    model->toggleItem(11);
    fake.windowList->entries.removeFirst();
    model->refreshMenuBarItems();

    EXPECT_EQ(control->writeProperty(QStringLiteral("HiddenItemLabels"),
                                     QStringList{QStringLiteral("app12")}),
              QString());
    EXPECT_EQ(model->hiddenLabels(),
              (QSet<QString>{QStringLiteral("app11"), QStringLiteral("app12")}));
    EXPECT_EQ(model->selectedItemIDs(), QSet<quint32>{12});
    EXPECT_EQ(control->writeProperty(QStringLiteral("HiddenItemLabels"), QStringList()), QString());
    // The absent item's label stays, as it does in the window; it hides the item when it returns.
    EXPECT_EQ(model->hiddenLabels(), QSet<QString>{QStringLiteral("app11")});
    EXPECT_EQ(store.stringListValue(StoredKeys::hiddenItemLabels),
              QStringList{QStringLiteral("app11")});
}
