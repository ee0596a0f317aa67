// Colour and picture-location codecs of the defaults store.
#include "Codecs.h"

#include "DefaultsStore.h"
#include "ProblemLog.h"

#include <QFileInfo>
#include <cmath>
#include <limits>

namespace Codecs {

namespace {

qint64 component255(double component)
{
    const double scaled = component * 255.0;
    if (!std::isfinite(scaled))
        qFatal("Quillet: colour component is not a finite number");
    // std::round rounds halves away from zero. Beyond the 64-bit range (only a broken colour
    // gets there) the number saturates rather than overflowing the conversion.
    const double rounded = std::round(scaled);
    constexpr double kLimit = 9.2e18;
    if (rounded >= kLimit)
        return std::numeric_limits<qint64>::max();
    if (rounded <= -kLimit)
        return std::numeric_limits<qint64>::min();
    return static_cast<qint64>(rounded);
}

QString twoHexDigits(qint64 value)
{
    // Negative components print as their 32-bit two's complement, as a printf "%02X" of the
    // integer would.
    return QString::asprintf("%02X", static_cast<unsigned int>(value));
}

} // namespace

QString hex(const RgbColor& color)
{
    return QLatin1Char('#') + twoHexDigits(component255(color.red)) +
           twoHexDigits(component255(color.green)) + twoHexDigits(component255(color.blue));
}

std::optional<quint64> scanHexLongLong(const QString& text)
{
    qsizetype i = 0;
    while (i < text.size() && text.at(i).isSpace())
        ++i;
    if (i + 1 < text.size() && text.at(i) == QLatin1Char('0') &&
        (text.at(i + 1) == QLatin1Char('x') || text.at(i + 1) == QLatin1Char('X')))
        i += 2;
    quint64 value = 0;
    bool anyDigit = false;
    bool overflow = false;
    for (; i < text.size(); ++i) {
        const char16_t c = text.at(i).unicode();
        int digit = -1;
        if (c >= u'0' && c <= u'9')
            digit = c - u'0';
        else if (c >= u'a' && c <= u'f')
            digit = c - u'a' + 10;
        else if (c >= u'A' && c <= u'F')
            digit = c - u'A' + 10;
        if (digit < 0)
            break;
        anyDigit = true;
        if (value > (std::numeric_limits<quint64>::max() >> 4))
            overflow = true;
        value = (value << 4) | static_cast<quint64>(digit);
    }
    if (!anyDigit)
        return std::nullopt;
    return overflow ? std::numeric_limits<quint64>::max() : value;
}

RgbColor colorFromHex(const QString& text)
{
    const QString digits = text.startsWith(QLatin1Char('#')) ? text.mid(1) : text;
    const quint64 number = scanHexLongLong(digits).value_or(0);
    const quint32 low = static_cast<quint32>(number);
    return {((low >> 16) & 0xff) / 255.0, ((low >> 8) & 0xff) / 255.0, (low & 0xff) / 255.0, 1.0};
}

std::optional<QString> loadURL(const DefaultsStore& store, const StoredKey& key)
{
    const std::optional<QString> path = store.stringValue(key);
    if (!path || path->isEmpty())
        return std::nullopt;
    if (!QFileInfo::exists(*path)) {
        // Moved, deleted or on a folder that is not mounted: the choice stays stored for when it
        // comes back, and the user hears why their picture is not used.
        ProblemLog::reportOnce(QStringLiteral("picture ") + *path,
                               QStringLiteral("picture file %1 (%2) no longer exists; the default "
                                              "picture is used")
                                   .arg(*path, key.name));
        return std::nullopt;
    }
    return path;
}

void persistURL(DefaultsStore& store, const std::optional<QString>& path, const StoredKey& key)
{
    if (path)
        store.setString(key, *path);
    else
        store.remove(key);
}

} // namespace Codecs
