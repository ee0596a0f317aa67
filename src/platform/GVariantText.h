// Values as the GSettings tools print and take them (GVariant's text form): quoted strings and
// arrays of strings.
#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace GVariantText {
// 'text' with GVariant's quoting, and back; none when the text is not one quoted string.
QString quoted(const QString& text);
std::optional<QString> unquoted(const QString& text);
// ['a', 'b'] (an empty list as "@as []"), and back; none when the text is not an array of
// strings. Empty text, as `dconf read` prints for a key nobody set, is no array either.
QString stringArray(const QStringList& items);
std::optional<QStringList> strings(const QString& text);
} // namespace GVariantText
