// Chooses a name for each tray element from what its application publishes.
#include "MenuBarNamer.h"

#include "platform/Platform.h"

#include <array>

namespace {

// Suffixes that helper processes carry in their names, removed in this order.
const std::array<QLatin1String, 5> appNameSuffixes = {
    QLatin1String("MenuBarExtra"), QLatin1String("Menu Bar Extra"), QLatin1String("Launcher"),
    QLatin1String("Helper"),       QLatin1String("Agent"),
};

// Spaces, tabs and the other horizontal blanks; line breaks are kept.
bool isHorizontalBlank(QChar c)
{
    return c == QLatin1Char('\t') || c.category() == QChar::Separator_Space;
}

QString trimmedHorizontally(const QString& text)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && isHorizontalBlank(text.at(begin)))
        ++begin;
    while (end > begin && isHorizontalBlank(text.at(end - 1)))
        --end;
    return text.mid(begin, end - begin);
}

QString cleanedAppName(const QString& name)
{
    QString result = name;
    for (const QLatin1String& suffix : appNameSuffixes) {
        if (result.endsWith(suffix))
            result.chop(suffix.size());
    }
    result = trimmedHorizontally(result);
    return result.isEmpty() ? name : result;
}

} // namespace

namespace MenuBarNamer {

QList<NamedExtra> named(const Platform& platform)
{
    // Without the right to inspect other applications nobody is asked.
    if (!platform.windowControl().canControlWindows())
        return {};
    return named(platform.itemNames().trayElements());
}

QList<NamedExtra> named(const QList<NamedTrayElement>& elements)
{
    QList<NamedExtra> result;
    for (const NamedTrayElement& element : elements) {
        // Elements at the left edge of the primary monitor or left of it are not named.
        if (element.x <= 0.0)
            continue;
        QString name;
        if (!element.description.isEmpty()) {
            name = trimmedHorizontally(element.description.section(QLatin1Char(','), 0, 0));
        } else if (!element.title.isEmpty() && !element.title.contains(QLatin1Char('.'))) {
            name = element.title;
        } else if (!element.appName.isNull()) {
            name = cleanedAppName(element.appName);
        } else {
            continue;
        }
        result.append(NamedExtra{element.x, name});
    }
    return result;
}

} // namespace MenuBarNamer
