// Stored encodings of colours and picture locations.
#pragma once

#include "RgbColor.h"

#include <QString>
#include <optional>

class DefaultsStore;
struct StoredKey;

namespace Codecs {

// "#RRGGBB" of the sRGB components, each times 255 rounded half away from zero. Components
// outside 0…1 are not clamped and give numbers outside 00…FF. Opacity is not stored.
QString hex(const RgbColor& color);

// The colour of a stored "#RRGGBB" (the number sign optional). The leading hexadecimal digits
// are read the way a hexadecimal scanner reads them; nothing readable gives black.
RgbColor colorFromHex(const QString& text);

// The hexadecimal number at the start of `text` after leading white space and an optional
// "0x"; saturates at the largest 64-bit value; nullopt when no digit can be read.
std::optional<quint64> scanHexLongLong(const QString& text);

// The stored path under `key` when a file still exists there.
std::optional<QString> loadURL(const DefaultsStore& store, const StoredKey& key);
// Stores the plain path, or removes the key when there is no picture.
void persistURL(DefaultsStore& store, const std::optional<QString>& path, const StoredKey& key);

} // namespace Codecs
