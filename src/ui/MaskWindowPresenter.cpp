// Mask windows for the tiles of the overlay controller.
#include "MaskWindowPresenter.h"

#include "MaskWindow.h"

#include <QGuiApplication>
#include <QScreen>
#include <cmath>

MaskWindowPresenter::MaskWindowPresenter()
{
    // The model rebuilds twice in a row (hidden flag, then tiles): windows are mapped once
    // control returns to the event loop, so the ones torn down at once never reach the server.
    m_orderFront.setSingleShot(true);
    m_orderFront.setInterval(0);
    QObject::connect(&m_orderFront, &QTimer::timeout, [this] { orderFront(); });
}

MaskWindowPresenter::~MaskWindowPresenter()
{
    clearMasks();
}

QRect MaskWindowPresenter::toScreenGeometry(const QRectF& r, const QRect& primary)
{
    // Bottom-left coordinates have their origin at the primary monitor's bottom-left corner.
    const double top = primary.height() - (r.y() + r.height());
    const int left = int(std::lround(r.x())) + primary.x();
    const int right = int(std::lround(r.x() + r.width())) + primary.x();
    const int y0 = int(std::lround(top)) + primary.y();
    const int y1 = int(std::lround(top + r.height())) + primary.y();
    return QRect(left, y0, right - left, y1 - y0);
}

void MaskWindowPresenter::showMasks(const QList<MaskTile>& tiles, const RgbColor& fallbackColor)
{
    // The primary screen is the one whose frame origin is (0, 0) in bottom-left coordinates;
    // Qt follows the RandR primary output, as the screen list does.
    const QScreen* primary = QGuiApplication::primaryScreen();
    const QRect primaryGeometry = primary ? primary->geometry() : QRect();
    const QColor fill = fallbackColor.toQColor();
    for (const MaskTile& tile : tiles) {
        std::optional<QRect> geometry = m_placement ? m_placement(tile.rect) : std::nullopt;
        auto window = std::make_unique<MaskWindow>(
            geometry.value_or(toScreenGeometry(tile.rect, primaryGeometry)), tile.image, fill);
        m_windows.push_back(std::move(window));
    }
    m_orderFront.start();
}

void MaskWindowPresenter::orderFront()
{
    for (const auto& window : m_windows) {
        if (!window->isVisible())
            window->orderFrontRegardless();
    }
}

void MaskWindowPresenter::clearMasks()
{
    for (const auto& window : m_windows)
        window->hide();
    m_windows.clear();
}

QList<MaskWindow*> MaskWindowPresenter::menuBarWindows() const
{
    QList<MaskWindow*> result;
    for (const auto& window : m_windows)
        result.append(window.get());
    return result;
}
