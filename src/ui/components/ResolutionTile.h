// A display mode drawn as a little screen with a menu bar and two windows, with its size in
// points and in pixels below. Drawn as a plain button: the caller connects `clicked`.
#pragma once

#include "core/DisplayInfo.h"

#include <QAbstractButton>
#include <QRectF>
#include <QSizeF>
#include <array>

class ResolutionTile final : public QAbstractButton {
    Q_OBJECT
public:
    static constexpr double minimumCanvasWidth = 64.0;
    static constexpr double minimumCanvasHeight = 42.0;
    static constexpr double minimumTileWidth = 70.0;
    static constexpr double cornerRadius = 6.0;
    // The menu bar of the drawn screen, in mode points.
    static constexpr double menuBarPoints = 24.0;
    // Between the canvas and the labels, and between the two labels.
    static constexpr int labelGap = 4;
    static constexpr int labelSpacing = 1;

    // `scale`: canvas points per mode point, shared by all tiles of a row.
    ResolutionTile(const DisplayMode& mode, bool isCurrent, double scale,
                   QWidget* parent = nullptr);

    const DisplayMode& mode() const { return m_mode; }
    bool isCurrent() const { return m_isCurrent; }
    void setCurrent(bool isCurrent);
    double scale() const { return m_scale; }

    // The canvas: `scale` times the mode's size, at least 64 × 42.
    static QSizeF canvasSize(const DisplayMode& mode, double scale);
    // The tile's width: the canvas's, at least 70.
    static double tileWidth(double canvasWidth);
    // The two sample windows in the mode's own points, y downwards from the top: the small one
    // (drawn first, behind) and the large one.
    static std::array<QRectF, 2> windowRects(const DisplayMode& mode);
    // "1920 × 1080" and "1920 × 1080 px".
    static QString sizeLabel(const DisplayMode& mode);
    static QString pixelLabel(const DisplayMode& mode);
    // Where the canvas lies inside a tile of the given width.
    QRectF canvasRect() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    // The current state is set by the caller, never by a click.
    void nextCheckState() override {}

private:
    void drawCanvas(QPainter& painter, const QRectF& canvas) const;
    void drawWindow(QPainter& painter, const QRectF& window) const;

    DisplayMode m_mode;
    bool m_isCurrent = false;
    double m_scale = 1.0;
};
