// The hue strip of the colour picker: the colour wheel unrolled from red to red, with a capsule
// marking the current hue.
#pragma once

#include <QPointF>
#include <QRectF>
#include <QWidget>

class HueStrip final : public QWidget {
    Q_OBJECT
public:
    static constexpr double stripWidth = 220.0;
    static constexpr double stripHeight = 14.0;
    static constexpr double cornerRadius = 7.0;
    static constexpr double markerWidth = 6.0;
    static constexpr double markerHeight = 18.0;
    // The largest hue a drag gives: the right end is just short of red again.
    static constexpr double maximumHue = 0.9999;
    // Room around the strip so the marker is drawn whole.
    static constexpr int overhangX = 5;
    static constexpr int overhangY = 3;

    explicit HueStrip(QWidget* parent = nullptr);

    void setHue(double hue);
    double hue() const { return m_hue; }

    // The strip inside the widget.
    static QRectF stripRect();
    // The hue at x in the strip's own coordinates: x / width clamped to 0…0.9999.
    static double hueAt(double x, double width);
    // The marker's centre in the strip's own coordinates.
    static QPointF markerCentre(double hue, double width);

    QSize sizeHint() const override;

signals:
    void dragged(double hue);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    double m_hue = 0.0;
};
