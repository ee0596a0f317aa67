// A miniature desktop: a background (a colour, a picture or the stand-in for the user's own
// wallpaper), optionally a menu bar with status items and a column of desktop icons.
#pragma once

#include "core/RgbColor.h"

#include <QImage>
#include <QList>
#include <QRectF>
#include <QString>
#include <QWidget>
#include <optional>

class MiniScreen final : public QWidget {
    Q_OBJECT
public:
    enum class Bar { none, items, empty, gap };

    struct Background {
        enum class Kind { color, image, wallpaper };
        Kind kind = Kind::wallpaper;
        RgbColor color;
        // A local file path; none (or an unreadable file) shows the placeholder.
        std::optional<QString> path;

        static Background solid(const RgbColor& color) { return {Kind::color, color, {}}; }
        static Background image(const std::optional<QString>& path)
        {
            return {Kind::image, {}, path};
        }
        static Background wallpaper() { return {}; }
    };

    static constexpr double barHeight = 5.0;
    static constexpr double circleSize = 3.0;

    MiniScreen(const Background& background, Bar bar, bool icons, QWidget* parent = nullptr);

    const Background& background() const { return m_background; }
    Bar bar() const { return m_bar; }
    bool icons() const { return m_icons; }
    void setBackground(const Background& background);
    void setBar(Bar bar);
    void setIcons(bool icons);

    // The status circles of the menu bar on a screen `width` wide, right to left.
    static QList<QRectF> statusCircles(Bar bar, double width);
    // The desktop icons down the right edge.
    static QList<QRectF> iconRects(double width);
    // The part of `image` that fills `target` when scaled to cover it, cropping the overflow.
    static QRectF fillSource(const QSizeF& image, const QSizeF& target);
    // A picture read for a thumbnail (large ones at a reduced size); null when unreadable.
    static QImage readThumbnail(const QString& path);

    QSize sizeHint() const override { return {58, 38}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void loadImage();

    Background m_background;
    Bar m_bar = Bar::none;
    bool m_icons = false;
    QImage m_image;
};
