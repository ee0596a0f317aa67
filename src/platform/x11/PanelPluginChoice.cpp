#include "PanelPluginChoice.h"

#include <algorithm>

namespace PanelPluginChoice {

QList<qsizetype> rightOfTray(const QList<PanelPluginBox>& plugins, const QRect& panel,
                             const QRect& trayArea)
{
    QList<qsizetype> chosen;
    if (trayArea.isEmpty() || !panel.contains(trayArea.center()))
        return chosen;
    // The first column right of the notification area.
    const int trayEnd = trayArea.x() + trayArea.width();
    for (qsizetype i = 0; i < plugins.size(); ++i) {
        const PanelPluginBox& p = plugins[i];
        // Hidden widgets report a 1 × 1 rectangle off screen.
        if (!p.showing || !p.hasContent || p.rect.width() <= 1 || p.rect.height() <= 1)
            continue;
        if (p.rect.x() >= trayEnd && panel.contains(p.rect.center()))
            chosen.append(i);
    }
    std::stable_sort(chosen.begin(), chosen.end(), [&](qsizetype a, qsizetype b) {
        return plugins[a].rect.x() < plugins[b].rect.x();
    });
    return chosen;
}

} // namespace PanelPluginChoice
