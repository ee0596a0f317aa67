// Which of the panel's own plugins count as items.
#include "platform/x11/PanelPluginChoice.h"

#include <gtest/gtest.h>

using PanelPluginChoice::rightOfTray;
using Chosen = QList<qsizetype>;

namespace {
const QRect panel(0, 0, 1920, 32);
const QRect tray(1755, 0, 97, 32);

PanelPluginBox box(int x, int w, bool content = true)
{
    return PanelPluginBox{QRect(x, 0, w, 32), true, content};
}
} // namespace

TEST(PanelPluginChoice, onlyPluginsWithContentFromTheTraysRightEdgeOn)
{
    // Task list, expanding gap, the notification area itself, clock, a separator, a button.
    const QList<PanelPluginBox> plugins{box(0, 8),     box(8, 1747, false), box(1755, 97),
                                        box(1852, 40), box(1892, 4, false), box(1896, 24)};
    EXPECT_EQ(rightOfTray(plugins, panel, tray), (Chosen{3, 5}));
    // One column too far left overlaps the notification area and is not an item.
    EXPECT_TRUE(rightOfTray({box(1851, 69)}, panel, tray).isEmpty());
}

TEST(PanelPluginChoice, hiddenPluginsAndOtherPanelsGiveNothing)
{
    PanelPluginBox hidden = box(1852, 68);
    hidden.showing = false;
    EXPECT_TRUE(rightOfTray({hidden}, panel, tray).isEmpty());
    // Not yet laid out: the 1 × 1 rectangle of an unshown widget.
    EXPECT_TRUE(
        rightOfTray({PanelPluginBox{QRect(1900, 0, 1, 1), true, true}}, panel, tray).isEmpty());
    // The notification area stands on another panel (at the bottom).
    EXPECT_TRUE(rightOfTray({box(1852, 68)}, panel, tray.translated(0, 1048)).isEmpty());
    EXPECT_TRUE(rightOfTray({box(1852, 68)}, panel, QRect()).isEmpty());
}

TEST(PanelPluginChoice, leftToRightWhateverTheTreesOrder)
{
    EXPECT_EQ(rightOfTray({box(1880, 40), box(1852, 28)}, panel, tray), (Chosen{1, 0}));
}
