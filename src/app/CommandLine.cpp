// Parsing with QCommandLineParser; nothing here touches the display.
#include "CommandLine.h"

#include <QCommandLineParser>

namespace {
struct CommandOption {
    const char* name;
    const char* description;
};

constexpr CommandOption kCommandOptions[] = {
    {"enable", "Switch Quillet on: apply the stored choices to the desktop."},
    {"disable", "Switch Quillet off: put the desktop back, keeping the choices."},
    {"toggle", "Switch Quillet on when it is off, off when it is on."},
    {"show", "Open the main window."},
    {"quit", "Put the desktop back and end the running Quillet."},
    {"status", "Print the switch and the current choices, one \"key: value\" a line."},
};

QString versionText()
{
    return QStringLiteral("quillet %1\n").arg(QStringLiteral(QUILLET_VERSION));
}
} // namespace

const QStringList& CommandLine::commands()
{
    static const QStringList names = [] {
        QStringList list;
        for (const CommandOption& option : kCommandOptions)
            list.append(QString::fromLatin1(option.name));
        return list;
    }();
    return names;
}

namespace {
struct Options {
    QCommandLineOption help{{QStringLiteral("h"), QStringLiteral("help")},
                            QStringLiteral("Show this help and exit.")};
    QCommandLineOption version{{QStringLiteral("V"), QStringLiteral("version")},
                               QStringLiteral("Show the version and exit.")};
    QCommandLineOption hidden{QStringLiteral("hidden"),
                              QStringLiteral("Start without opening the main window.")};

    explicit Options(QCommandLineParser& parser)
    {
        parser.setApplicationDescription(QStringLiteral(
            "Makes the screen presentable for screenshots and recordings, and puts everything "
            "back afterwards.\n\nWithout a command, starts Quillet or opens the window of the "
            "one already running. A command goes to the running Quillet, which is started "
            "first (without its window) when none runs; the exit status is 0 when it was done, "
            "1 when it could not be done, 2 for a wrong command line."));
        // GNU style: "-abc" is three short options, never one long one.
        parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsCompactedShortOptions);
        parser.addOption(help);
        parser.addOption(version);
        for (const CommandOption& option : kCommandOptions)
            parser.addOption(QCommandLineOption(QString::fromLatin1(option.name),
                                                QString::fromLatin1(option.description)));
        parser.addOption(hidden);
    }
};
} // namespace

QString CommandLine::helpText()
{
    QCommandLineParser parser;
    const Options options(parser);
    QString text = parser.helpText();
    // The parser names the program by the path it was started with; users type "quillet".
    const qsizetype lineEnd = text.indexOf(QLatin1Char('\n'));
    return QStringLiteral("Usage: quillet [OPTION]...") + text.mid(lineEnd);
}

CommandLine CommandLine::parse(const QStringList& original)
{
    // The session manager restarts a Qt program with "-session <id>", and Qt's own X11 options
    // ("-display :1", "-platform xcb", …) may be given too. QApplication takes them out later;
    // here they are set aside, whole, before the GNU-style parse splits them into letters.
    static const QStringList qtOptionsWithValue{
        QStringLiteral("-session"),       QStringLiteral("-display"),
        QStringLiteral("-platform"),      QStringLiteral("-style"),
        QStringLiteral("-stylesheet"),    QStringLiteral("-name"),
        QStringLiteral("-title"),         QStringLiteral("-qwindowgeometry"),
        QStringLiteral("-platformtheme"), QStringLiteral("-plugin")};
    QStringList arguments;
    for (qsizetype i = 0; i < original.size(); ++i) {
        if (i > 0 && qtOptionsWithValue.contains(original.at(i)) && i + 1 < original.size())
            ++i;
        else
            arguments.append(original.at(i));
    }

    QCommandLineParser parser;
    const Options options(parser);
    const QCommandLineOption& help = options.help;
    const QCommandLineOption& version = options.version;
    const QCommandLineOption& hidden = options.hidden;

    CommandLine result;
    const auto usageError = [&result](const QString& message) {
        result.outcome = Outcome::usageError;
        result.text = QStringLiteral("quillet: %1\nTry 'quillet --help' for more information.\n")
                          .arg(message);
        return result;
    };
    if (!parser.parse(arguments))
        return usageError(parser.errorText());
    if (parser.isSet(help)) {
        result.outcome = Outcome::help;
        return result;
    }
    if (parser.isSet(version)) {
        result.outcome = Outcome::print;
        result.text = versionText();
        return result;
    }
    if (!parser.positionalArguments().isEmpty())
        return usageError(QStringLiteral("unexpected argument '%1'")
                              .arg(parser.positionalArguments().constFirst()));

    QStringList given;
    for (const QString& name : commands()) {
        if (parser.isSet(name))
            given.append(name);
    }
    if (given.size() > 1)
        return usageError(QStringLiteral("give one command at a time, not --%1")
                              .arg(given.join(QStringLiteral(" and --"))));
    result.hidden = parser.isSet(hidden);
    if (!given.isEmpty()) {
        if (result.hidden)
            return usageError(QStringLiteral("--hidden starts Quillet; it does not go with --%1")
                                  .arg(given.constFirst()));
        result.outcome = Outcome::command;
        result.command = given.constFirst();
    }
    return result;
}
