// The horizontally scrolling row of resolution tiles. Its edges fade out while more tiles lie
// beyond them.
#pragma once

#include "ContentRules.h"

#include <QScrollArea>

class QGraphicsOpacityEffect;
class QHBoxLayout;

class ResolutionStrip final : public QScrollArea {
    Q_OBJECT
public:
    explicit ResolutionStrip(QWidget* parent = nullptr);

    // Replaces the tiles; the scroll position is kept as far as the new row allows.
    void setTiles(const QList<QWidget*>& tiles);
    const QList<QWidget*>& tiles() const { return m_tiles; }

    // Measured ends of the row and the visible viewport, in viewport coordinates.
    double resLeadingX() const;
    double resTrailingX() const;
    QRectF resViewportRect() const;
    QList<FadeStop> currentFadeStops() const;

protected:
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void updateMask();

    QWidget* m_row = nullptr;
    QHBoxLayout* m_layout = nullptr;
    QList<QWidget*> m_tiles;
    QGraphicsOpacityEffect* m_fade = nullptr;
};
