// The colour picker.
#include "ColorPickerPopover.h"

#include "ColorSwatch.h"
#include "HueStrip.h"
#include "Look.h"
#include "SatBriPad.h"

#include <QEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMetaObject>
#include <QPainter>
#include <algorithm>
#include <cmath>

ColorPickerPopover::ColorPickerPopover(Binding color, QWidget* parent)
    : QWidget(parent), m_color(std::move(color))
{
    setAccessibleName(tr("Color"));
    m_pad = new SatBriPad(this);
    m_strip = new HueStrip(this);
    connect(m_pad, &SatBriPad::dragged, this,
            [this](double sat, double bri) { setHsb(m_hue, sat, bri); });
    connect(m_strip, &HueStrip::dragged, this, [this](double hue) { setHsb(hue, m_sat, m_bri); });

    for (const QStringList& row : palettes()) {
        for (const QString& digits : row) {
            auto* swatch = new ColorSwatch(digits, this);
            connect(swatch, &ColorSwatch::clicked, this, [this, digits] { swatchClicked(digits); });
            m_swatches << swatch;
        }
    }

    const QFont mono = Look::monospaced(Look::callout());
    m_hash = new QLabel(QStringLiteral("#"), this);
    m_hash->setFont(mono);
    m_field = new QLineEdit(this);
    m_field->setFont(mono);
    m_field->setPlaceholderText(tr("hex"));
    m_field->setAccessibleName(tr("Hex"));
    // A plain field on a rounded text-background plate that the picker paints behind it.
    m_field->setFrame(false);
    m_field->setFixedHeight(hexFieldHeight);
    m_field->setTextMargins(6, 0, 6, 0);
    QPalette fieldPalette = m_field->palette();
    fieldPalette.setColor(QPalette::Base, Qt::transparent);
    m_field->setPalette(fieldPalette);
    m_hash->setBuddy(m_field);
    // Typing only changes the text; the value is read when the field is committed with Return.
    connect(m_field, &QLineEdit::textEdited, this,
            [this](const QString& text) { m_hexText = text; });
    connect(m_field, &QLineEdit::returnPressed, this, [this] {
        m_hexText = m_field->text();
        applyHex();
    });

    layOut();
    showState();
    setHexText(m_hexText);
    updateColours();
}

void ColorPickerPopover::updateColours()
{
    QPalette hashPalette = m_hash->palette();
    hashPalette.setColor(QPalette::WindowText, Look::secondary(palette()));
    m_hash->setPalette(hashPalette);
}

void ColorPickerPopover::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange)
        updateColours();
    QWidget::changeEvent(event);
}

void ColorPickerPopover::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Look::textBackground(palette()));
    painter.drawRoundedRect(QRectF(m_field->geometry()), hexFieldRadius, hexFieldRadius);
}

const QList<QStringList>& ColorPickerPopover::palettes()
{
    static const QList<QStringList> rows{
        {"FF1744", "FF6F00", "FFC400", "FFEA00", "C6FF00", "00E676", "1DE9B6", "00E5FF", "2979FF",
         "651FFF", "F50057"},
        {"EF4444", "F97316", "F59E0B", "EAB308", "84CC16", "22C55E", "10B981", "06B6D4", "3B82F6",
         "8B5CF6", "EC4899"},
        {"FCA5A5", "FDBA74", "FCD34D", "FDE68A", "BEF264", "86EFAC", "6EE7B7", "67E8F9", "93C5FD",
         "C4B5FD", "F9A8D4"},
        {"991B1B", "9A3412", "92400E", "854D0E", "3F6212", "166534", "065F46", "155E75", "1E40AF",
         "5B21B6", "9D174D"},
        {"FFFFFF", "F3F4F6", "D1D5DB", "9CA3AF", "6B7280", "4B5563", "374151", "1F2937", "111827",
         "000000", "57534E"},
    };
    return rows;
}

namespace {

int hexValue(QChar c)
{
    if (c >= QLatin1Char('0') && c <= QLatin1Char('9'))
        return c.unicode() - '0';
    if (c >= QLatin1Char('A') && c <= QLatin1Char('F'))
        return c.unicode() - 'A' + 10;
    if (c >= QLatin1Char('a') && c <= QLatin1Char('f'))
        return c.unicode() - 'a' + 10;
    return -1;
}

// An unsigned 32-bit hexadecimal number with an optional sign, the way an unsigned integer
// reader takes it: "+" is allowed, "-" only when the number is zero.
std::optional<quint32> parseUnsignedHex(const QString& text)
{
    qsizetype start = 0;
    bool negative = false;
    if (!text.isEmpty() && (text[0] == QLatin1Char('+') || text[0] == QLatin1Char('-'))) {
        negative = text[0] == QLatin1Char('-');
        start = 1;
    }
    if (start == text.size())
        return std::nullopt;
    quint64 value = 0;
    for (qsizetype i = start; i < text.size(); ++i) {
        const int digit = hexValue(text[i]);
        if (digit < 0)
            return std::nullopt;
        value = value * 16 + quint64(digit);
        if (value > 0xFFFFFFFFull)
            return std::nullopt;
    }
    if (negative && value != 0)
        return std::nullopt;
    return quint32(value);
}

} // namespace

std::optional<ColorPickerPopover::Hsb> ColorPickerPopover::parseHex(const QString& text)
{
    QString digits = text.trimmed();
    digits.remove(QLatin1Char('#'));
    // Three-digit shorthand is not taken: exactly six characters.
    if (digits.size() != 6)
        return std::nullopt;
    const std::optional<quint32> value = parseUnsignedHex(digits);
    if (!value)
        return std::nullopt;
    const double red = ((*value >> 16) & 0xFF) / 255.0;
    const double green = ((*value >> 8) & 0xFF) / 255.0;
    const double blue = (*value & 0xFF) / 255.0;
    return hsbFromRgb(red, green, blue);
}

ColorPickerPopover::Hsb ColorPickerPopover::hsbFromRgb(double red, double green, double blue)
{
    const double max = std::max({red, green, blue});
    const double min = std::min({red, green, blue});
    const double delta = max - min;
    double hue = 0.0;
    // A grey has no hue: it reads as 0 whatever was shown before.
    if (delta > 1e-9) {
        if (max == red)
            hue = std::fmod((green - blue) / delta, 6.0);
        else if (max == green)
            hue = (blue - red) / delta + 2.0;
        else
            hue = (red - green) / delta + 4.0;
        hue /= 6.0;
        if (hue < 0)
            hue += 1.0;
    }
    return {hue, max == 0 ? 0.0 : delta / max, max};
}

RgbColor ColorPickerPopover::rgbFromHsb(double hue, double sat, double bri)
{
    const double h6 = std::fmod(std::fmod(hue, 1.0) + 1.0, 1.0) * 6.0;
    const double c = bri * sat;
    const double x = c * (1.0 - std::abs(std::fmod(h6, 2.0) - 1.0));
    const double m = bri - c;
    double r = 0, g = 0, b = 0;
    switch (int(std::floor(h6)) % 6) {
    case 0:
        r = c, g = x, b = 0;
        break;
    case 1:
        r = x, g = c, b = 0;
        break;
    case 2:
        r = 0, g = c, b = x;
        break;
    case 3:
        r = 0, g = x, b = c;
        break;
    case 4:
        r = x, g = 0, b = c;
        break;
    default:
        r = c, g = 0, b = x;
        break;
    }
    return {std::clamp(r + m, 0.0, 1.0), std::clamp(g + m, 0.0, 1.0), std::clamp(b + m, 0.0, 1.0),
            1.0};
}

QString ColorPickerPopover::hexDigits(double red, double green, double blue)
{
    // std::round rounds halves away from zero. Components outside 0…1 are kept to a byte.
    auto byte = [](double value) { return std::clamp(int(std::round(value * 255.0)), 0, 255); };
    return QString::asprintf("%02X%02X%02X", byte(red), byte(green), byte(blue));
}

void ColorPickerPopover::setHsb(double hue, double sat, double bri)
{
    const bool changed = hue != m_hue || sat != m_sat || bri != m_bri;
    m_hue = hue;
    m_sat = sat;
    m_bri = bri;
    if (!changed)
        return;
    showState();
    if (!m_suppressOutbound)
        pushOut();
}

void ColorPickerPopover::setHexText(const QString& text)
{
    m_hexText = text;
    if (m_field->text() != text)
        m_field->setText(text);
}

void ColorPickerPopover::syncFrom(const RgbColor& color)
{
    m_suppressOutbound = true;
    const Hsb hsb = hsbFromRgb(color.red, color.green, color.blue);
    setHsb(hsb.hue, hsb.sat, hsb.bri);
    setHexText(hexDigits(color.red, color.green, color.blue));
    QMetaObject::invokeMethod(
        this, [this] { m_suppressOutbound = false; }, Qt::QueuedConnection);
}

void ColorPickerPopover::pushOut()
{
    m_suppressInbound = true;
    const RgbColor color = rgbFromHsb(m_hue, m_sat, m_bri);
    if (m_color.set)
        m_color.set(color);
    setHexText(hexDigits(color.red, color.green, color.blue));
    QMetaObject::invokeMethod(
        this, [this] { m_suppressInbound = false; }, Qt::QueuedConnection);
}

void ColorPickerPopover::applyHex()
{
    if (const std::optional<Hsb> hsb = parseHex(m_hexText))
        setHsb(hsb->hue, hsb->sat, hsb->bri);
}

void ColorPickerPopover::boundColorChanged(const RgbColor& color)
{
    if (!m_suppressInbound)
        syncFrom(color);
}

void ColorPickerPopover::swatchClicked(const QString& digits)
{
    if (const std::optional<Hsb> hsb = parseHex(digits))
        setHsb(hsb->hue, hsb->sat, hsb->bri);
}

void ColorPickerPopover::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (m_color.get)
        syncFrom(m_color.get());
}

void ColorPickerPopover::showState()
{
    m_pad->setValues(m_hue, m_sat, m_bri);
    m_strip->setHue(m_hue);
}

void ColorPickerPopover::layOut()
{
    // Fixed geometry, top to bottom: pad, strip, swatch rows, hex row. The pad and the strip
    // reach past the column so their markers are drawn whole at the ends.
    const int x = padding;
    int y = padding;
    const QRectF pad = SatBriPad::padRect();
    m_pad->move(x - int(pad.left()), y - int(pad.top()));
    y += int(SatBriPad::padHeight) + spacing;
    const QRectF strip = HueStrip::stripRect();
    m_strip->move(x - int(strip.left()), y - int(strip.top()));
    y += int(HueStrip::stripHeight) + spacing;

    int index = 0;
    for (int row = 0; row < palettes().size(); ++row) {
        for (int column = 0; column < palettes().at(row).size(); ++column)
            m_swatches.at(index++)->move(x + column * (ColorSwatch::side + swatchSpacing), y);
        y += ColorSwatch::side + (row + 1 < palettes().size() ? rowSpacing : 0);
    }
    y += spacing;

    const int hashWidth = m_hash->sizeHint().width();
    m_hash->setGeometry(x, y, hashWidth, hexFieldHeight);
    const int fieldX = x + hashWidth + hexRowSpacing;
    m_field->setGeometry(fieldX, y, x + columnWidth - fieldX, hexFieldHeight);
    y += hexFieldHeight + padding;
    setFixedSize(columnWidth + 2 * padding, y);
}
