// Presentation rules of the main window.
#include "ContentRules.h"

#include "core/AppModel.h"

#include <QCoreApplication>
#include <QLocale>
#include <QRegularExpression>
#include <algorithm>
#include <cmath>

namespace ContentRules {

QList<QSizeF> fittingSizes(qint64 width, qint64 height)
{
    const QList<QSizeF>& presets = AppModel::windowSizes();
    if (width < 1 || height < 1)
        return presets;
    QList<QSizeF> result;
    for (const QSizeF& size : presets) {
        if (qint64(std::trunc(size.width())) <= width &&
            qint64(std::trunc(size.height())) <= height)
            result.append(size);
    }
    return result;
}

QList<CenterItem> centerItems(qint64 currentWidth, qint64 currentHeight)
{
    QList<CenterItem> items{CenterItem::filling()};
    for (const QSizeF& size : fittingSizes(currentWidth, currentHeight))
        items.append(CenterItem::preset(size));
    items.append(CenterItem::customSize());
    return items;
}

QList<RepositionItem> repositionItems()
{
    QList<RepositionItem> items;
    for (WindowArrangement arrangement :
         {WindowArrangement::leftHalf, WindowArrangement::rightHalf, WindowArrangement::topHalf,
          WindowArrangement::bottomHalf, WindowArrangement::topLeft, WindowArrangement::topRight,
          WindowArrangement::bottomLeft, WindowArrangement::bottomRight})
        items.append({RepositionItem::Kind::arrange, arrangement});
    items.append({RepositionItem::Kind::hide, WindowArrangement::fill});
    return items;
}

QList<MenuBarBanner> menuBarBanners(MenuBarCover cover, bool canCloneBar, bool canNameItems)
{
    QList<MenuBarBanner> banners;
    if (cover != MenuBarCover::keep && !canCloneBar)
        banners.append(MenuBarBanner::screenRecording);
    if (cover == MenuBarCover::items && !canNameItems)
        banners.append(MenuBarBanner::itemNames);
    return banners;
}

QString bannerText(MenuBarBanner banner)
{
    switch (banner) {
    case MenuBarBanner::screenRecording:
        return QCoreApplication::translate(
            "ContentRules", "Grant Screen Recording for seamless hiding \u2014 otherwise the bar "
                            "is covered with a solid color.");
    case MenuBarBanner::itemNames:
        return QCoreApplication::translate(
            "ContentRules", "Grant Accessibility to show real item names instead of \u201cControl "
                            "Center N\u201d.");
    }
    return {};
}

double tileScale(const QList<DisplayMode>& modes)
{
    qint64 widest = 0;
    qint64 tallest = 0;
    for (const DisplayMode& mode : modes) {
        widest = std::max(widest, mode.width);
        tallest = std::max(tallest, mode.height);
    }
    // With no modes (or degenerate ones) nothing is drawn at this scale.
    if (widest <= 0 || tallest <= 0)
        return 1.0;
    return std::min(168.0 / double(widest), 108.0 / double(tallest));
}

double fadeFraction(double viewportWidth)
{
    return viewportWidth > 1 ? std::min(22.0 / viewportWidth, 0.12) : 0.12;
}

QList<FadeStop> fadeStops(double leadingX, double trailingX, const QRectF& viewport)
{
    const double f = fadeFraction(viewport.width());
    QList<FadeStop> stops;
    if (leadingX >= viewport.left() - 1)
        stops << FadeStop{0, true} << FadeStop{0, true};
    else
        stops << FadeStop{0, false} << FadeStop{f, true};
    if (trailingX <= viewport.right() + 1)
        stops << FadeStop{1, true} << FadeStop{1, true};
    else
        stops << FadeStop{1 - f, true} << FadeStop{1, false};
    return stops;
}

QRectF arrangementRegion(WindowArrangement arrangement)
{
    switch (arrangement) {
    case WindowArrangement::center:
        return {0.2, 0.19, 0.6, 0.62};
    case WindowArrangement::fill:
        return {0, 0, 1, 1};
    case WindowArrangement::leftHalf:
        return {0, 0, 0.5, 1};
    case WindowArrangement::rightHalf:
        return {0.5, 0, 0.5, 1};
    case WindowArrangement::topHalf:
        return {0, 0, 1, 0.5};
    case WindowArrangement::bottomHalf:
        return {0, 0.5, 1, 0.5};
    case WindowArrangement::topLeft:
        return {0, 0, 0.5, 0.5};
    case WindowArrangement::topRight:
        return {0.5, 0, 0.5, 0.5};
    case WindowArrangement::bottomLeft:
        return {0, 0.5, 0.5, 0.5};
    case WindowArrangement::bottomRight:
        return {0.5, 0.5, 0.5, 0.5};
    }
    return {};
}

QString arrangementCaption(WindowArrangement arrangement)
{
    switch (arrangement) {
    case WindowArrangement::center:
        return QCoreApplication::translate("ContentRules", "Center");
    case WindowArrangement::fill:
        return QCoreApplication::translate("ContentRules", "Fill");
    case WindowArrangement::leftHalf:
        return QCoreApplication::translate("ContentRules", "Left");
    case WindowArrangement::rightHalf:
        return QCoreApplication::translate("ContentRules", "Right");
    case WindowArrangement::topHalf:
        return QCoreApplication::translate("ContentRules", "Top");
    case WindowArrangement::bottomHalf:
        return QCoreApplication::translate("ContentRules", "Bottom");
    case WindowArrangement::topLeft:
        return QCoreApplication::translate("ContentRules", "Top Left");
    case WindowArrangement::topRight:
        return QCoreApplication::translate("ContentRules", "Top Right");
    case WindowArrangement::bottomLeft:
        return QCoreApplication::translate("ContentRules", "Bot. Left");
    case WindowArrangement::bottomRight:
        return QCoreApplication::translate("ContentRules", "Bot. Right");
    }
    return {};
}

QString sizeCaption(QSizeF size)
{
    return QCoreApplication::translate("ContentRules", "%1 \u00D7 %2")
        .arg(qint64(std::trunc(size.width())))
        .arg(qint64(std::trunc(size.height())));
}

QString sizeTooltip(QSizeF size)
{
    return QCoreApplication::translate("ContentRules", "Resize to %1 and center")
        .arg(sizeCaption(size));
}

QRectF sizeRegion(QSizeF size, qint64 currentWidth, qint64 currentHeight)
{
    const double w = std::min(size.width() / double(std::max<qint64>(currentWidth, 1)), 1.0);
    const double h = std::min(size.height() / double(std::max<qint64>(currentHeight, 1)), 1.0);
    return {(1 - w) / 2, (1 - h) / 2, w, h};
}

namespace {

// Spaces, tabs and the other horizontal blanks; line breaks are content.
bool isBlank(QChar c)
{
    return c == u'\t' || c.category() == QChar::Separator_Space;
}

} // namespace

std::optional<double> parseDimension(const QString& text)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && isBlank(text.at(begin)))
        ++begin;
    while (end > begin && isBlank(text.at(end - 1)))
        --end;
    const QString number = text.mid(begin, end - begin);
    static const QRegularExpression decimal(QRegularExpression::anchoredPattern(
        QStringLiteral("[+-]?(\\d+\\.?\\d*|\\.\\d+)([eE][+-]?\\d+)?")));
    if (!decimal.match(number).hasMatch())
        return std::nullopt;
    bool ok = false;
    const double value = QLocale::c().toDouble(number, &ok);
    if (!ok || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<QSizeF> parseCustomSize(const QString& width, const QString& height)
{
    const std::optional<double> w = parseDimension(width);
    if (!w)
        return std::nullopt;
    const std::optional<double> h = parseDimension(height);
    if (!h)
        return std::nullopt;
    if (*w > 0 && *h > 0)
        return QSizeF(*w, *h);
    return std::nullopt;
}

} // namespace ContentRules
