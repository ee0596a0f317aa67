// Resolution tiles in a scrolling strip with faded edges.
#include "ResolutionStrip.h"

#include <QEvent>
#include <QGraphicsOpacityEffect>
#include <QHBoxLayout>
#include <QLinearGradient>
#include <QScrollBar>
#include <QWheelEvent>
#include <algorithm>

ResolutionStrip::ResolutionStrip(QWidget* parent) : QScrollArea(parent)
{
    setObjectName(QStringLiteral("Resolutions"));
    setAccessibleName(tr("Resolutions"));
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWidgetResizable(false);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    viewport()->setAutoFillBackground(false);
    setAutoFillBackground(false);

    m_row = new QWidget;
    m_row->setAutoFillBackground(false);
    m_layout = new QHBoxLayout(m_row);
    m_layout->setContentsMargins(1, 0, 1, 0);
    m_layout->setSpacing(8);
    setWidget(m_row);
    // The scroll area fills its content by default; the card behind should show through.
    m_row->setAutoFillBackground(false);
    m_row->installEventFilter(this);

    m_fade = new QGraphicsOpacityEffect(this);
    m_fade->setOpacity(1.0);
    setGraphicsEffect(m_fade);
    connect(horizontalScrollBar(), &QScrollBar::valueChanged, this, &ResolutionStrip::updateMask);
    connect(horizontalScrollBar(), &QScrollBar::rangeChanged, this, &ResolutionStrip::updateMask);
}

void ResolutionStrip::setTiles(const QList<QWidget*>& tiles)
{
    const int scrolled = horizontalScrollBar()->value();
    for (QWidget* tile : std::as_const(m_tiles)) {
        tile->hide();
        tile->deleteLater();
    }
    m_tiles = tiles;
    for (QWidget* tile : tiles) {
        tile->setParent(m_row);
        m_layout->addWidget(tile, 0, Qt::AlignBottom);
        // Keyboard focus brings a tile into view, since the strip has no scroll bar.
        tile->installEventFilter(this);
        tile->show();
    }
    m_row->adjustSize();
    setFixedHeight(m_row->sizeHint().height());
    horizontalScrollBar()->setValue(scrolled);
    updateMask();
}

double ResolutionStrip::resLeadingX() const
{
    return m_row->x();
}

double ResolutionStrip::resTrailingX() const
{
    return m_row->x() + m_row->width();
}

QRectF ResolutionStrip::resViewportRect() const
{
    return QRectF(viewport()->geometry().translated(-viewport()->x(), -viewport()->y()));
}

QList<FadeStop> ResolutionStrip::currentFadeStops() const
{
    return ContentRules::fadeStops(resLeadingX(), resTrailingX(), resViewportRect());
}

void ResolutionStrip::updateMask()
{
    const QList<FadeStop> stops = currentFadeStops();
    QLinearGradient gradient(0, 0, std::max(1, width()), 0);
    for (const FadeStop& stop : stops)
        gradient.setColorAt(stop.location, stop.opaque ? QColor(0, 0, 0, 255) : QColor(0, 0, 0, 0));
    m_fade->setOpacityMask(QBrush(gradient));
    // The effect paints the strip into a picture of its own first: only worth it while an edge
    // fades out.
    m_fade->setEnabled(std::any_of(stops.cbegin(), stops.cend(),
                                   [](const FadeStop& stop) { return !stop.opaque; }));
}

void ResolutionStrip::resizeEvent(QResizeEvent* event)
{
    QScrollArea::resizeEvent(event);
    updateMask();
}

void ResolutionStrip::wheelEvent(QWheelEvent* event)
{
    // A vertical wheel scrolls the row sideways, as horizontal-only lists do on Linux desktops.
    const QPoint delta = event->angleDelta();
    const int step = std::abs(delta.x()) > std::abs(delta.y()) ? delta.x() : delta.y();
    horizontalScrollBar()->setValue(horizontalScrollBar()->value() - step / 2);
    event->accept();
}

bool ResolutionStrip::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_row && (event->type() == QEvent::Move || event->type() == QEvent::Resize))
        updateMask();
    if (event->type() == QEvent::FocusIn) {
        if (auto* tile = qobject_cast<QWidget*>(watched); tile && m_tiles.contains(tile))
            ensureWidgetVisible(tile, 8, 0);
    }
    return QScrollArea::eventFilter(watched, event);
}
