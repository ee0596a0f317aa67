// The XSETTINGS wire format: byte order, serial, count, then per setting a type (0 integer,
// 1 string, 2 colour), a padded name, a serial and the padded value.
#include "XSettings.h"

#include "X11Connection.h"
#include "X11Replies.h"

namespace {

class Reader {
public:
    Reader(const QByteArray& data, bool bigEndian) : m_data(data), m_big(bigEndian) {}
    bool skip(qsizetype n)
    {
        if (n < 0 || m_pos + n > m_data.size())
            return false;
        m_pos += n;
        return true;
    }
    std::optional<quint32> u32() { return number(4); }
    std::optional<quint32> u16() { return number(2); }
    std::optional<quint32> u8() { return number(1); }
    std::optional<QByteArray> bytes(qsizetype n)
    {
        if (n < 0 || m_pos + n > m_data.size())
            return std::nullopt;
        const QByteArray result = m_data.mid(m_pos, n);
        m_pos += n;
        return result;
    }

private:
    std::optional<quint32> number(int size)
    {
        if (m_pos + size > m_data.size())
            return std::nullopt;
        quint32 value = 0;
        for (int i = 0; i < size; ++i) {
            const quint32 byte = quint8(m_data[m_pos + (m_big ? i : size - 1 - i)]);
            value = (value << 8) | byte;
        }
        m_pos += size;
        return value;
    }
    const QByteArray& m_data;
    bool m_big;
    qsizetype m_pos = 0;
};

qsizetype padded(qsizetype n)
{
    return (n + 3) & ~qsizetype(3);
}

} // namespace

namespace XSettings {

namespace {

// The raw value of setting `name` with its type (0 integer, 1 string); nothing when absent or
// the blob is malformed.
struct RawSetting {
    quint8 type = 0;
    QByteArray value;
};

std::optional<RawSetting> findSetting(const QByteArray& blob, const QByteArray& name)
{
    if (blob.size() < 12)
        return std::nullopt;
    // 0 = LSBFirst, 1 = MSBFirst.
    const bool bigEndian = blob[0] == 1;
    Reader in(blob, bigEndian);
    if (!in.skip(4) || !in.u32())
        return std::nullopt;
    const auto count = in.u32();
    if (!count)
        return std::nullopt;
    for (quint32 i = 0; i < *count; ++i) {
        const auto type = in.u8();
        if (!type || !in.skip(1))
            return std::nullopt;
        const auto nameLength = in.u16();
        if (!nameLength)
            return std::nullopt;
        const auto settingName = in.bytes(*nameLength);
        if (!settingName || !in.skip(padded(*nameLength) - *nameLength) || !in.u32())
            return std::nullopt;
        switch (*type) {
        case 0: {
            const auto value = in.u32();
            if (!value)
                return std::nullopt;
            if (*settingName == name) {
                // Kept as four big-endian bytes, whatever the blob's order.
                QByteArray bytes(4, '\0');
                for (int b = 0; b < 4; ++b)
                    bytes[b] = char((*value >> (8 * (3 - b))) & 0xff);
                return RawSetting{0, bytes};
            }
            break;
        }
        case 1: {
            const auto length = in.u32();
            if (!length)
                return std::nullopt;
            const auto value = in.bytes(*length);
            if (!value || !in.skip(padded(*length) - *length))
                return std::nullopt;
            if (*settingName == name)
                return RawSetting{1, *value};
            break;
        }
        case 2:
            if (!in.skip(8))
                return std::nullopt;
            break;
        default:
            return std::nullopt;
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<QString> stringSetting(const QByteArray& blob, const QByteArray& name)
{
    const auto setting = findSetting(blob, name);
    if (!setting || setting->type != 1)
        return std::nullopt;
    return QString::fromUtf8(setting->value);
}

std::optional<qint32> intSetting(const QByteArray& blob, const QByteArray& name)
{
    const auto setting = findSetting(blob, name);
    if (!setting || setting->type != 0)
        return std::nullopt;
    quint32 value = 0;
    for (char byte : setting->value)
        value = (value << 8) | quint8(byte);
    return qint32(value);
}

QByteArray currentBlob()
{
    xcb_connection_t* c = X11::connection();
    if (!c)
        return {};
    const xcb_window_t window = ownerWindow();
    if (window == XCB_WINDOW_NONE)
        return {};
    const xcb_atom_t settings = X11::atom("_XSETTINGS_SETTINGS");
    const X11::Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        c, xcb_get_property(c, 0, window, settings, settings, 0, 1 << 20), nullptr));
    return X11::bytes(reply.get());
}

xcb_window_t ownerWindow()
{
    xcb_connection_t* c = X11::connection();
    if (!c)
        return XCB_WINDOW_NONE;
    const X11::Reply<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
        c, xcb_get_selection_owner(c, X11::atom("_XSETTINGS_S0")), nullptr));
    return owner ? owner->owner : xcb_window_t(XCB_WINDOW_NONE);
}

} // namespace XSettings
