// The saturation–brightness pad of the colour picker: white to the pure hue from left to right,
// darkening to black downwards, with a ring marking the current saturation and brightness.
#pragma once

#include <QPointF>
#include <QSizeF>
#include <QWidget>
#include <utility>

class SatBriPad final : public QWidget {
    Q_OBJECT
public:
    static constexpr double padWidth = 220.0;
    static constexpr double padHeight = 140.0;
    static constexpr double cornerRadius = 6.0;
    static constexpr double markerSize = 14.0;
    // Room around the pad so the marker is drawn whole at the edges.
    static constexpr int overhang = 8;

    explicit SatBriPad(QWidget* parent = nullptr);

    void setValues(double hue, double sat, double bri);
    double hue() const { return m_hue; }
    double sat() const { return m_sat; }
    double bri() const { return m_bri; }

    // The pad inside the widget.
    static QRectF padRect();
    // Saturation and brightness at a point in the pad's own coordinates, clamped to 0…1.
    static std::pair<double, double> valuesAt(QPointF point, QSizeF size);
    // The marker's centre in the pad's own coordinates.
    static QPointF markerCentre(double sat, double bri, QSizeF size);

    QSize sizeHint() const override;

signals:
    // The user pressed or dragged on the pad.
    void dragged(double sat, double bri);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void track(QPointF position);

    double m_hue = 0.0;
    double m_sat = 1.0;
    double m_bri = 1.0;
};
