// Mask windows for the tiles of the overlay controller.
#include "MaskWindowPresenter.h"

#include "MaskWindow.h"
#include "platform/Geometry.h"

#include <QGuiApplication>
#include <QScreen>
#include <algorithm>
#include <cmath>

using namespace std::chrono_literals;

MaskWindowPresenter::MaskWindowPresenter()
{
    // The model may build twice in a row: windows are mapped once control returns to the event
    // loop, so the ones replaced at once never reach the server.
    m_orderFront.setSingleShot(true);
    m_orderFront.setInterval(0);
    QObject::connect(&m_orderFront, &QTimer::timeout, &m_context, [this] { orderFront(); });
    m_retireAnyway.setSingleShot(true);
    m_retireAnyway.setInterval(1s);
    QObject::connect(&m_retireAnyway, &QTimer::timeout, &m_context, [this] { retire(); });
}

MaskWindowPresenter::~MaskWindowPresenter()
{
    clearMasks();
}

QRect MaskWindowPresenter::toScreenGeometry(const QRectF& r, const QRect& primary)
{
    // Bottom-left coordinates have their origin at the primary monitor's bottom-left corner.
    const QRectF topLeft = Geometry::flipped(r, primary.height());
    const int left = int(std::lround(topLeft.left())) + primary.x();
    const int right = int(std::lround(topLeft.right())) + primary.x();
    const int y0 = int(std::lround(topLeft.top())) + primary.y();
    const int y1 = int(std::lround(topLeft.bottom())) + primary.y();
    return QRect(left, y0, right - left, y1 - y0);
}

void MaskWindowPresenter::showMasks(const QList<MaskTile>& tiles, const RgbColor& fallbackColor)
{
    // Windows already shown stay until their successors have painted; the others were never
    // seen and go at once.
    for (auto& window : m_windows) {
        if (window->isVisible())
            m_leaving.push_back(std::move(window));
    }
    m_windows.clear();

    // The primary screen is the one whose frame origin is (0, 0) in bottom-left coordinates;
    // Qt follows the RandR primary output, as the screen list does.
    const QScreen* primary = QGuiApplication::primaryScreen();
    const QRect primaryGeometry = primary ? primary->geometry() : QRect();
    const QColor fill = fallbackColor.toQColor();
    for (const MaskTile& tile : tiles) {
        std::optional<QRect> geometry = m_placement ? m_placement(tile.rect) : std::nullopt;
        auto window = std::make_unique<MaskWindow>(
            geometry.value_or(toScreenGeometry(tile.rect, primaryGeometry)), tile.image, fill);
        QObject::connect(window.get(), &MaskWindow::painted, &m_context,
                         [this] { retireWhenPainted(); });
        m_windows.push_back(std::move(window));
    }
    m_orderFront.start();
    if (!m_leaving.empty())
        m_retireAnyway.start();
}

void MaskWindowPresenter::orderFront()
{
    for (const auto& window : m_windows) {
        if (!window->isVisible())
            window->orderFrontRegardless();
    }
}

void MaskWindowPresenter::retireWhenPainted()
{
    const auto allPainted = [this] {
        return std::all_of(m_windows.begin(), m_windows.end(),
                           [](const auto& w) { return w->hasPainted(); });
    };
    if (m_leaving.empty() || !allPainted())
        return;
    // After the paint has been flushed to the server: the old windows' unmapping then reaches
    // it after the new pictures. Newer tiles may have come meanwhile; they are waited for.
    QTimer::singleShot(0, &m_context, [this, allPainted] {
        if (allPainted())
            retire();
    });
}

void MaskWindowPresenter::retire()
{
    m_retireAnyway.stop();
    for (const auto& window : m_leaving)
        window->hide();
    m_leaving.clear();
}

void MaskWindowPresenter::clearMasks()
{
    m_orderFront.stop();
    for (const auto& window : m_windows)
        window->hide();
    m_windows.clear();
    retire();
}

QList<MaskWindow*> MaskWindowPresenter::menuBarWindows() const
{
    QList<MaskWindow*> result;
    for (const auto& window : m_windows)
        result.append(window.get());
    return result;
}
