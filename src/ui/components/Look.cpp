// Colours, fonts and symbols by role.
#include "Look.h"

#include <QApplication>
#include <QFontDatabase>
#include <QFontMetrics>
#include <QHash>
#include <QIcon>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QPointer>
#include <QWidget>
#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace Look {

QColor accent(const QPalette& palette)
{
    return palette.color(QPalette::Highlight);
}

QColor primary(const QPalette& palette)
{
    return palette.color(QPalette::WindowText);
}

QColor secondary(const QPalette& palette)
{
    QColor color = palette.color(QPalette::PlaceholderText);
    // Some themes leave the placeholder role equal to the text: dim it ourselves then.
    if (color == palette.color(QPalette::WindowText))
        color = withOpacity(color, 0.55);
    return color;
}

QColor windowBackground(const QPalette& palette)
{
    return palette.color(QPalette::Window);
}

QColor textBackground(const QPalette& palette)
{
    return palette.color(QPalette::Base);
}

QColor controlBackground(const QPalette& palette)
{
    // The fill of a content area (cards): the theme's base colour, which stands out from the
    // window on light and dark themes alike. Themes whose base equals the window get a shade.
    const QColor base = palette.color(QPalette::Base);
    const QColor window = palette.color(QPalette::Window);
    if (base != window)
        return base;
    return window.lightness() > 128 ? window.lighter(106) : window.darker(125);
}

QColor orange()
{
    return QColor(255, 149, 0);
}

QColor withOpacity(QColor color, double opacity)
{
    color.setAlphaF(float(color.alphaF() * opacity));
    return color;
}

namespace {

double bodyPoints()
{
    const double points = QApplication::font().pointSizeF();
    // A font set in pixels reports -1: take the usual 10-point desktop body then.
    return points > 0 ? points : 10.0;
}

QFont sized(double points, QFont::Weight weight = QFont::Normal)
{
    QFont font = QApplication::font();
    font.setPointSizeF(std::max(points, 6.5));
    font.setWeight(weight);
    return font;
}

} // namespace

// Linux desktops use one body size for almost everything; the smaller roles step down by one
// point each, the way GTK's caption and small-print styles do.
QFont headline()
{
    return sized(bodyPoints(), QFont::Bold);
}

QFont subheadline()
{
    return sized(bodyPoints() - 0.5);
}

QFont callout()
{
    return sized(bodyPoints());
}

QFont caption()
{
    return sized(bodyPoints() - 1);
}

QFont caption2()
{
    return sized(bodyPoints() - 1.5);
}

QFont systemFont(double points)
{
    return sized(std::round(points * bodyPoints() / 13.0 * 2.0) / 2.0);
}

QFont monospaced(QFont font)
{
    QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    fixed.setPointSizeF(font.pointSizeF());
    fixed.setWeight(font.weight());
    return fixed;
}

QString themeIconName(const QString& name)
{
    // Names from the freedesktop naming conventions where one fits; the menu bar has none, so
    // it is always our own drawing.
    static const QHash<QString, QString> names{
        {QStringLiteral("photo"), QStringLiteral("image-x-generic")},
        {QStringLiteral("lock.shield"), QStringLiteral("security-high")},
        {QStringLiteral("rectangle.on.rectangle"), QStringLiteral("preferences-desktop-display")},
        {QStringLiteral("macwindow"), QStringLiteral("focus-windows")},
        {QStringLiteral("menubar.dock.rectangle"), QStringLiteral("preferences-desktop-wallpaper")},
        {QStringLiteral("eye.slash"), QStringLiteral("view-conceal")},
        {QStringLiteral("arrow.clockwise"), QStringLiteral("view-refresh")},
    };
    return names.value(name);
}

namespace {

// Our own simple drawings of the symbols, on a 16 × 16 grid, in one colour.
void drawFallback(QPainter& p, const QString& name)
{
    QPen pen(Qt::black, 1.4);
    pen.setJoinStyle(Qt::RoundJoin);
    pen.setCapStyle(Qt::RoundCap);
    p.setPen(pen);
    p.setBrush(Qt::NoBrush);
    if (name == QLatin1String("photo")) {
        p.drawRoundedRect(QRectF(1.5, 3, 13, 10), 1.5, 1.5);
        QPainterPath hills;
        hills.moveTo(2.5, 12);
        hills.lineTo(6.5, 7.5);
        hills.lineTo(9, 10);
        hills.lineTo(10.5, 8.5);
        hills.lineTo(13.5, 12);
        p.setBrush(Qt::black);
        p.drawPath(hills);
        p.setPen(Qt::NoPen);
        p.drawEllipse(QPointF(11, 5.8), 1.2, 1.2);
    } else if (name == QLatin1String("lock.shield")) {
        QPainterPath shield;
        shield.moveTo(8, 1);
        shield.cubicTo(10, 2.2, 12, 2.6, 14, 2.6);
        shield.cubicTo(14, 9, 12, 12.5, 8, 15);
        shield.cubicTo(4, 12.5, 2, 9, 2, 2.6);
        shield.cubicTo(4, 2.6, 6, 2.2, 8, 1);
        p.drawPath(shield);
        p.setBrush(Qt::black);
        p.setPen(Qt::NoPen);
        p.drawRoundedRect(QRectF(5.5, 7.5, 5, 4), 0.8, 0.8);
        p.setPen(QPen(Qt::black, 1.2));
        p.setBrush(Qt::NoBrush);
        p.drawArc(QRectF(6.3, 4.8, 3.4, 5), 0, 180 * 16);
    } else if (name == QLatin1String("rectangle.on.rectangle")) {
        p.drawRoundedRect(QRectF(4.5, 2, 10, 8), 1.5, 1.5);
        p.drawPolyline(QList<QPointF>{{1.5, 5.5}, {1.5, 13.5}, {11, 13.5}});
    } else if (name == QLatin1String("macwindow")) {
        p.drawRoundedRect(QRectF(1.5, 2.5, 13, 11), 1.5, 1.5);
        p.drawLine(QPointF(1.5, 5.5), QPointF(14.5, 5.5));
    } else if (name == QLatin1String("menubar.dock.rectangle")) {
        p.drawRoundedRect(QRectF(1.5, 2.5, 13, 11), 1.5, 1.5);
        p.drawLine(QPointF(1.5, 5), QPointF(14.5, 5));
        p.drawRoundedRect(QRectF(4.5, 10.5, 7, 1.5), 0.5, 0.5);
    } else if (name == QLatin1String("menubar.rectangle")) {
        p.drawRoundedRect(QRectF(1.5, 2.5, 13, 11), 1.5, 1.5);
        p.drawLine(QPointF(1.5, 5.5), QPointF(14.5, 5.5));
    } else if (name == QLatin1String("eye.slash")) {
        p.drawEllipse(QRectF(1.5, 4.5, 13, 7));
        p.drawEllipse(QPointF(8, 8), 2, 2);
        p.drawLine(QPointF(2.5, 14), QPointF(13.5, 2));
    } else if (name == QLatin1String("arrow.clockwise")) {
        p.drawArc(QRectF(2.5, 2.5, 11, 11), 60 * 16, 300 * 16);
        p.drawPolyline(QList<QPointF>{{9, 1.5}, {11.5, 3.4}, {9.2, 5.6}});
    } else if (name == QLatin1String("xmark.circle.fill")) {
        p.setPen(Qt::NoPen);
        p.setBrush(Qt::black);
        p.drawEllipse(QRectF(0.5, 0.5, 15, 15));
        p.setCompositionMode(QPainter::CompositionMode_Clear);
        p.setPen(QPen(Qt::black, 1.8, Qt::SolidLine, Qt::RoundCap));
        p.drawLine(QPointF(5.3, 5.3), QPointF(10.7, 10.7));
        p.drawLine(QPointF(10.7, 5.3), QPointF(5.3, 10.7));
    } else {
        p.drawEllipse(QRectF(2, 2, 12, 12));
    }
}

struct ThemeSymbolWait {
    QPointer<const QObject> context;
    std::function<void()> redraw;
};

struct ThemeSymbolHold {
    bool held = false;
    std::vector<ThemeSymbolWait> waiting;
};

ThemeSymbolHold& themeSymbolHold()
{
    static ThemeSymbolHold hold;
    return hold;
}

} // namespace

void holdThemeSymbols()
{
    themeSymbolHold().held = true;
}

void releaseThemeSymbols()
{
    ThemeSymbolHold& hold = themeSymbolHold();
    if (!hold.held)
        return;
    hold.held = false;
    // A redraw may register again (a widget built meanwhile): take the list first.
    const std::vector<ThemeSymbolWait> waiting = std::exchange(hold.waiting, {});
    for (const ThemeSymbolWait& wait : waiting) {
        if (wait.context)
            wait.redraw();
    }
}

bool themeSymbolsHeld()
{
    return themeSymbolHold().held;
}

void whenThemeSymbolsArrive(const QObject* context, std::function<void()> redraw)
{
    ThemeSymbolHold& hold = themeSymbolHold();
    if (hold.held)
        hold.waiting.push_back({context, std::move(redraw)});
}

QPixmap symbol(const QString& name, int pixelSize, const QColor& tint, qreal devicePixelRatio)
{
    const int device = std::max(1, int(std::ceil(pixelSize * devicePixelRatio)));
    QPixmap pixmap(device, device);
    pixmap.fill(Qt::transparent);
    {
        QPainter p(&pixmap);
        p.setRenderHint(QPainter::Antialiasing);
        const QString themeName = themeIconName(name);
        // Only one-colour (symbolic) theme icons keep their shape as a silhouette; a full-colour
        // icon would become a blob, so our own drawing stands in for those.
        QIcon icon;
        if (!themeName.isEmpty() && !themeSymbolsHeld() &&
            QIcon::hasThemeIcon(themeName + QStringLiteral("-symbolic")))
            icon = QIcon::fromTheme(themeName + QStringLiteral("-symbolic"));
        if (!icon.isNull()) {
            icon.paint(&p, QRect(0, 0, device, device));
        } else {
            p.scale(device / 16.0, device / 16.0);
            drawFallback(p, name);
        }
        // Keep the shape, take the colour.
        p.resetTransform();
        p.setCompositionMode(QPainter::CompositionMode_SourceIn);
        p.fillRect(QRect(0, 0, device, device), tint);
    }
    pixmap.setDevicePixelRatio(devicePixelRatio);
    return pixmap;
}

QRectF innerStrokeRect(const QRectF& shape, double width)
{
    const double half = width / 2.0;
    return shape.adjusted(half, half, -half, -half);
}

void strokeInside(QPainter& painter, const QRectF& shape, double radius, double width,
                  const QColor& color, Qt::PenStyle style)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QPen pen(color, width, style);
    pen.setJoinStyle(Qt::MiterJoin);
    if (style == Qt::CustomDashLine)
        pen.setDashPattern({2.0 / width, 2.0 / width});
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    const double inner = std::max(0.0, radius - width / 2.0);
    painter.drawRoundedRect(innerStrokeRect(shape, width), inner, inner);
    painter.restore();
}

QPalette darkPalette(const QPalette& light)
{
    QPalette dark = light;
    const QColor window(0x2D, 0x2D, 0x2D);
    const QColor base(0x1E, 0x1E, 0x1E);
    const QColor text(0xE8, 0xE8, 0xE8);
    const QColor dimmed(0x98, 0x98, 0x98);
    const QColor button(0x3C, 0x3C, 0x3C);
    for (QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive}) {
        dark.setColor(group, QPalette::Window, window);
        dark.setColor(group, QPalette::WindowText, text);
        dark.setColor(group, QPalette::Base, base);
        dark.setColor(group, QPalette::AlternateBase, QColor(0x26, 0x26, 0x26));
        dark.setColor(group, QPalette::Text, text);
        dark.setColor(group, QPalette::PlaceholderText, dimmed);
        dark.setColor(group, QPalette::Button, button);
        dark.setColor(group, QPalette::ButtonText, text);
        dark.setColor(group, QPalette::BrightText, Qt::white);
        dark.setColor(group, QPalette::ToolTipBase, QColor(0x40, 0x40, 0x40));
        dark.setColor(group, QPalette::ToolTipText, text);
        dark.setColor(group, QPalette::Light, QColor(0x50, 0x50, 0x50));
        dark.setColor(group, QPalette::Midlight, QColor(0x44, 0x44, 0x44));
        dark.setColor(group, QPalette::Mid, QColor(0x30, 0x30, 0x30));
        dark.setColor(group, QPalette::Dark, QColor(0x1A, 0x1A, 0x1A));
        dark.setColor(group, QPalette::Shadow, Qt::black);
        dark.setColor(group, QPalette::HighlightedText, Qt::white);
    }
    const QColor disabled(0x70, 0x70, 0x70);
    dark.setColor(QPalette::Disabled, QPalette::Window, window);
    dark.setColor(QPalette::Disabled, QPalette::Base, base);
    dark.setColor(QPalette::Disabled, QPalette::Button, button);
    for (QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::PlaceholderText})
        dark.setColor(QPalette::Disabled, role, disabled);
    return dark;
}

bool isDark(const QPalette& palette)
{
    return palette.color(QPalette::Window).lightness() < 128;
}

void focusRing(QPainter& painter, const QRectF& shape, double radius, const QPalette& palette)
{
    constexpr double ring = 2.0;
    strokeInside(painter, shape, radius, ring, accent(palette));
    strokeInside(painter, shape.adjusted(ring, ring, -ring, -ring), std::max(0.0, radius - ring),
                 1.0, withOpacity(palette.color(QPalette::Base), 0.9));
}

void paintBannerFill(QWidget* banner)
{
    QPainter painter(banner);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(withOpacity(orange(), 0.12));
    painter.drawRoundedRect(QRectF(banner->rect()), 8.0, 8.0);
}

QPixmap bannerSymbol(const QWidget* banner)
{
    const int size = QFontMetrics(callout()).height();
    return symbol(QStringLiteral("lock.shield"), size, orange(), banner->devicePixelRatioF());
}

} // namespace Look
