// Panel reflow on QImage.
#include "BarReflow.h"

namespace BarReflow {

std::optional<QImage> emptyColumn(const QImage& full, const ScreenInfo& screen,
                                  const QList<MenuBarItem>& items, double barHeightPt)
{
    Q_UNUSED(full);
    Q_UNUSED(screen);
    Q_UNUSED(items);
    Q_UNUSED(barHeightPt);
    return std::nullopt;
}

std::optional<Piece> reflow(const QImage& full, const ScreenInfo& screen,
                            const QList<MenuBarItem>& items, const QSet<quint32>& hiddenIDs,
                            double barHeightPt)
{
    Q_UNUSED(full);
    Q_UNUSED(screen);
    Q_UNUSED(items);
    Q_UNUSED(hiddenIDs);
    Q_UNUSED(barHeightPt);
    return std::nullopt;
}

} // namespace BarReflow
