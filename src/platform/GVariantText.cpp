// GVariant's text form of strings and string arrays, as gsettings and dconf print them.
#include "GVariantText.h"

QString GVariantText::quoted(const QString& text)
{
    QString result = QStringLiteral("'");
    for (const QChar c : text) {
        if (c == u'\\' || c == u'\'')
            result += u'\\';
        result += c;
    }
    return result + u'\'';
}

std::optional<QString> GVariantText::unquoted(const QString& text)
{
    const QString trimmed = text.trimmed();
    if (trimmed.size() < 2)
        return std::nullopt;
    const QChar quote = trimmed.front();
    if ((quote != u'\'' && quote != u'"') || trimmed.back() != quote)
        return std::nullopt;
    QString result;
    for (qsizetype i = 1; i + 1 < trimmed.size(); ++i) {
        QChar c = trimmed.at(i);
        if (c == u'\\' && i + 2 < trimmed.size()) {
            c = trimmed.at(++i);
            if (c == u'n')
                c = u'\n';
            else if (c == u't')
                c = u'\t';
        } else if (c == quote) {
            return std::nullopt;
        }
        result += c;
    }
    return result;
}

QString GVariantText::stringArray(const QStringList& items)
{
    if (items.isEmpty())
        return QStringLiteral("@as []");
    QStringList quotedItems;
    for (const QString& item : items)
        quotedItems.append(quoted(item));
    return u'[' + quotedItems.join(QStringLiteral(", ")) + u']';
}

std::optional<QStringList> GVariantText::strings(const QString& text)
{
    QString rest = text.trimmed();
    if (rest.startsWith(QLatin1String("@as ")))
        rest = rest.mid(4).trimmed();
    if (!rest.startsWith(u'[') || !rest.endsWith(u']'))
        return std::nullopt;
    rest = rest.mid(1, rest.size() - 2).trimmed();
    QStringList items;
    qsizetype i = 0;
    while (i < rest.size()) {
        // One quoted item: up to its closing quote, past escaped ones.
        const QChar quote = rest.at(i);
        if (quote != u'\'' && quote != u'"')
            return std::nullopt;
        qsizetype end = i + 1;
        while (end < rest.size() && rest.at(end) != quote)
            end += rest.at(end) == u'\\' ? 2 : 1;
        if (end >= rest.size())
            return std::nullopt;
        const std::optional<QString> item = unquoted(rest.mid(i, end - i + 1));
        if (!item)
            return std::nullopt;
        items.append(*item);
        i = end + 1;
        while (i < rest.size() && rest.at(i).isSpace())
            ++i;
        if (i < rest.size() && rest.at(i++) != u',')
            return std::nullopt;
        while (i < rest.size() && rest.at(i).isSpace())
            ++i;
    }
    return items;
}
