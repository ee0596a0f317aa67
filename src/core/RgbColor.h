// An sRGB colour with double components, so stored colours round exactly as computed (QColor
// keeps only 16 bits per component).
#pragma once

#include <QColor>

struct RgbColor {
    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;
    double alpha = 1.0;

    static RgbColor fromQColor(const QColor& color)
    {
        const QColor rgb = color.spec() == QColor::Rgb || color.spec() == QColor::ExtendedRgb
                               ? color
                               : color.toRgb();
        return {rgb.redF(), rgb.greenF(), rgb.blueF(), rgb.alphaF()};
    }
    QColor toQColor() const
    {
        return QColor::fromRgbF(float(red), float(green), float(blue), float(alpha));
    }
    bool operator==(const RgbColor&) const = default;
};
