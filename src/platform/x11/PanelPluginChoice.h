// Which of the panel's own plugins stand in the menu bar as items: those right of the
// notification area on the panel that holds it.
#pragma once

#include <QList>
#include <QRect>

struct PanelPluginBox {
    // Screen rectangle as the panel's accessibility tree reports it.
    QRect rect;
    bool showing = false;
    // Empty space (a separator, an expanding gap) has no child widgets.
    bool hasContent = false;
};

namespace PanelPluginChoice {
// `plugins` are the children of one panel's item box, in the panel's order; `panel` is that
// panel's rectangle and `trayArea` the notification area's. Returns the indexes of the plugins
// that count as items, left to right; none when the notification area is not on this panel.
QList<qsizetype> rightOfTray(const QList<PanelPluginBox>& plugins, const QRect& panel,
                             const QRect& trayArea);
} // namespace PanelPluginChoice
