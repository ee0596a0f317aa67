// Font roles and dimmed colours of the main window.
#include "UiStyle.h"

#include <QLabel>
#include <QPalette>

namespace UiStyle {

namespace {

QFont scaled(const QFont& base, double factor)
{
    QFont font = base;
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * factor);
    else
        font.setPixelSize(std::max(1, int(font.pixelSize() * factor + 0.5)));
    return font;
}

} // namespace

QFont captionFont(const QFont& base)
{
    return scaled(base, 0.85);
}

QFont subheadlineSemibold(const QFont& base)
{
    QFont font = scaled(base, 0.92);
    font.setWeight(QFont::DemiBold);
    return font;
}

QFont headlineFont(const QFont& base)
{
    QFont font = base;
    font.setWeight(QFont::Bold);
    return font;
}

QColor secondaryColor(const QPalette& palette)
{
    QColor color = palette.color(QPalette::WindowText);
    color.setAlphaF(0.6f);
    return color;
}

void makeSecondaryCaption(QLabel* label)
{
    label->setFont(captionFont(label->font()));
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, secondaryColor(palette));
    label->setPalette(palette);
}

void makeGroupLabel(QLabel* label)
{
    label->setFont(subheadlineSemibold(label->font()));
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, secondaryColor(palette));
    label->setPalette(palette);
}

} // namespace UiStyle
