// A little screen with a menu-bar strip and either a region (where a window would go) or a
// symbol, with an optional caption below. Drawn as a plain button: the caller connects
// `clicked` and sets the tooltip.
#pragma once

#include <QAbstractButton>
#include <QRectF>
#include <QString>
#include <optional>

class ScreenThumb final : public QAbstractButton {
    Q_OBJECT
public:
    static constexpr double cornerRadius = 3.0;
    static constexpr double regionRadius = 1.5;
    static constexpr double regionInset = 1.5;
    static constexpr double minimumRegionSide = 2.0;
    static constexpr int captionGap = 3;

    // `region` in unit coordinates of the area below the menu bar (origin top-left, y down);
    // `w` × `h` the screen's size and `menuBar` the strip's height, in pixels.
    ScreenThumb(const QRectF& region, const std::optional<QString>& caption, bool dashed,
                const std::optional<QString>& glyph, double w, double h, double menuBar,
                QWidget* parent = nullptr);

    QRectF region() const { return m_region; }
    std::optional<QString> caption() const { return m_caption; }
    bool isDashed() const { return m_dashed; }
    std::optional<QString> glyph() const { return m_glyph; }

    // Where the region is drawn inside the screen picture: its cell below the strip, inset 1.5
    // from each edge, never smaller than 2 × 2.
    static QRectF regionRect(const QRectF& region, double w, double h, double menuBar);
    // Where the screen picture lies inside the thumbnail.
    QRectF screenRect() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;

private:
    QRectF m_region;
    std::optional<QString> m_caption;
    bool m_dashed = false;
    std::optional<QString> m_glyph;
    double m_w = 46.0;
    double m_h = 30.0;
    double m_menuBar = 3.0;
};
