// The main window's panel on a fake platform: what it shows for a given model state, and that
// each control reaches the model.
#include "ui/ContentView.h"

#include "FakeApp.h"
#include "ui/ContentRules.h"
#include "ui/CustomSizeForm.h"
#include "ui/DesktopSupportBanner.h"
#include "ui/MainWindow.h"
#include "ui/Popover.h"
#include "ui/ResolutionStrip.h"
#include "ui/WindowListBox.h"
#include "ui/WindowRow.h"
#include "ui/components/ColorPickerPopover.h"
#include "ui/components/Look.h"
#include "ui/components/MiniScreen.h"
#include "ui/components/PermissionBanner.h"
#include "ui/components/PickThumb.h"
#include "ui/components/ResolutionTile.h"
#include "ui/components/SessionBanner.h"
#include "ui/components/WallpaperWell.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QWheelEvent>
#include <gtest/gtest.h>

namespace {

QStringList names(const QList<QAbstractButton*>& buttons)
{
    QStringList result;
    for (const QAbstractButton* button : buttons)
        result << button->accessibleName();
    return result;
}

int yIn(const QWidget* widget, const QWidget* ancestor)
{
    return widget->mapTo(ancestor, QPoint()).y();
}

struct PanelFixture : ::testing::Test, FakeApp {
    std::unique_ptr<MainWindow> window;

    PanelFixture()
    {
        fake.windowControl->list = {
            {101, QStringLiteral("Terminal"), QStringLiteral("~/src/quillet")},
            {102, QStringLiteral("Editor"), QStringLiteral("notes.txt")}};
        fake.windowControl->frames.insert(101, QRectF(100, 100, 600, 400));
        fake.windowControl->frames.insert(102, QRectF(200, 150, 500, 300));
    }

    // The panel inside a shown main window, for the popovers and the focus.
    ContentView& showWindow()
    {
        AppModel& app = makeModel();
        window = std::make_unique<MainWindow>(app, *preferences);
        window->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(window.get()));
        return *window->content();
    }
};

} // namespace

TEST_F(PanelFixture, displayPickerOnlyWithTwoDisplaysAndChangingItReloadsTheTiles)
{
    makeModel();
    ContentView view(*model);
    EXPECT_TRUE(view.displayRow()->isHidden());
    ASSERT_EQ(view.resolutionStrip()->tiles().size(), 2);

    // A second display with three modes.
    ScreenInfo screen;
    screen.displayId = 2;
    screen.name = QStringLiteral("Side Monitor");
    screen.outputName = QStringLiteral("HDMI-1");
    screen.frame = QRectF(1440, 0, 1920, 1080);
    screen.visibleFrame = screen.frame;
    fake.screens->list.append(screen);
    fake.displayModes->displays.append(2);
    fake.displayModes->modes.insert(2, {{20, 1920, 1080, 1920, 1080, 60.0, true},
                                        {21, 1600, 900, 1600, 900, 60.0, true},
                                        {22, 1280, 720, 1280, 720, 60.0, true}});
    fake.displayModes->current.insert(2, 20);
    model->reloadDisplays();
    EXPECT_FALSE(view.displayRow()->isHidden());
    QComboBox* picker = view.displayPicker();
    ASSERT_EQ(picker->count(), 2);
    EXPECT_EQ(picker->itemText(0), QStringLiteral("Test Monitor"));
    EXPECT_EQ(picker->itemText(1), QStringLiteral("Side Monitor"));
    EXPECT_EQ(picker->currentIndex(), 0);

    // Choosing the second display selects it and shows its three modes.
    picker->setCurrentIndex(1);
    emit picker->activated(1);
    EXPECT_EQ(model->selectedDisplayID(), 2u);
    EXPECT_EQ(view.resolutionStrip()->tiles().size(), 3);
}

TEST_F(PanelFixture, centreGroupOnA1440By900DisplayIsTwoRowsOfThree)
{
    makeModel();
    ContentView view(*model);
    view.show();

    ASSERT_EQ(
        names(view.centerCells()),
        QStringList({"Fill screen", "Resize to 1280 \u00D7 800 and center",
                     "Resize to 1440 \u00D7 900 and center", "Resize to 1024 \u00D7 768 and center",
                     "Resize to 800 \u00D7 600 and center", "Resize to a custom size and center"}));
    const QList<QAbstractButton*>& cells = view.centerCells();
    EXPECT_EQ(yIn(cells[0], &view), yIn(cells[2], &view));
    EXPECT_GT(yIn(cells[3], &view), yIn(cells[2], &view));
    EXPECT_EQ(yIn(cells[3], &view), yIn(cells[5], &view));
    EXPECT_LT(cells[0]->mapTo(&view, QPoint()).x(), cells[1]->mapTo(&view, QPoint()).x());

    // The reposition group: eight regions and hiding in three full rows; no centring cell.
    ASSERT_EQ(names(view.repositionCells()),
              QStringList({"Left half", "Right half", "Top half", "Bottom half", "Top-left quarter",
                           "Top-right quarter", "Bottom-left quarter", "Bottom-right quarter",
                           "Minimize the window"}));
    const QList<QAbstractButton*>& moves = view.repositionCells();
    EXPECT_EQ(yIn(moves[6], &view), yIn(moves[8], &view));
    EXPECT_GT(yIn(moves[6], &view), yIn(moves[3], &view));

    // A smaller mode offers fewer presets; an unknown one all six.
    model->apply(DisplayMode{11, 1280, 800, 1280, 800, 60.0});
    EXPECT_EQ(view.shownCenterItems().size(), 5);
    EXPECT_EQ(ContentRules::centerItems(0, 900).size(), 8);
    EXPECT_EQ(ContentRules::centerItems(640, 480).size(), 2);
}

TEST_F(PanelFixture, customSizeParsesTrimmedDecimalsAndKeepsTheTexts)
{
    ContentView& view = showWindow();
    ASSERT_TRUE(model->selectedWindowID());

    QAbstractButton* custom = view.centerCells().last();
    custom->click();
    EXPECT_TRUE(view.showCustomPopover());
    QLineEdit* width = view.customForm()->field(CustomField::width);
    QLineEdit* height = view.customForm()->field(CustomField::height);
    // (QtTest's QTRY_ macros would end the test silently under GoogleTest: wait explicitly.)
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return view.customForm()->customFieldFocus() == CustomField::width; }, 2000));

    QTest::keyClicks(width, QStringLiteral(" 1000 "));
    QTest::keyClicks(height, QStringLiteral("700.5"));
    QTest::keyClick(height, Qt::Key_Return);
    EXPECT_FALSE(view.showCustomPopover());
    // The first window (selected after the refresh) is centred at 1000 × 700.5.
    EXPECT_TRUE(fake.windowControl->log.contains(QStringLiteral("size 101 1000 700.5")))
        << fake.windowControl->log.join(QLatin1Char('|')).toStdString();

    // Reopening keeps the texts; Escape closes without resizing.
    fake.windowControl->log.clear();
    custom->click();
    EXPECT_EQ(width->text(), QStringLiteral(" 1000 "));
    EXPECT_EQ(height->text(), QStringLiteral("700.5"));
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return view.customForm()->customFieldFocus() == CustomField::width; }, 2000));
    QTest::keyClick(width, Qt::Key_Escape);
    EXPECT_FALSE(view.showCustomPopover());
    EXPECT_TRUE(fake.windowControl->log.isEmpty());

    // Invalid input closes the popover and does nothing, whichever field confirms.
    for (const auto& [w, h, field] : {std::tuple{"abc", "700", CustomField::width},
                                      std::tuple{"800", "-5", CustomField::height}}) {
        custom->click();
        width->setText(QString::fromUtf8(w));
        height->setText(QString::fromUtf8(h));
        QTest::keyClick(view.customForm()->field(field), Qt::Key_Return);
        EXPECT_FALSE(view.showCustomPopover()) << w << " x " << h;
    }
    EXPECT_TRUE(fake.windowControl->log.isEmpty())
        << fake.windowControl->log.join(QLatin1Char('|')).toStdString();
}

TEST(ContentRules, customSizeFieldsAcceptDecimalNumbersBetweenBlanks)
{
    using ContentRules::parseDimension;
    EXPECT_EQ(parseDimension(QStringLiteral(" 1000 ")), 1000.0);
    EXPECT_EQ(parseDimension(QStringLiteral("\t700.5\u00A0")), 700.5);
    EXPECT_EQ(parseDimension(QStringLiteral(".5")), 0.5);
    EXPECT_EQ(parseDimension(QStringLiteral("1e3")), 1000.0);
    for (const char* bad :
         {"", "  ", "abc", "12px", "1,5", "1000\n", "inf", "nan", "0x10", "1 000"})
        EXPECT_EQ(parseDimension(QString::fromUtf8(bad)), std::nullopt) << bad;

    EXPECT_EQ(ContentRules::parseCustomSize(QStringLiteral("1e5"), QStringLiteral("0.25")),
              QSizeF(1e5, 0.25));
    EXPECT_EQ(ContentRules::parseCustomSize(QStringLiteral("0"), QStringLiteral("700")),
              std::nullopt);
}

TEST_F(PanelFixture, menuBarBannersFollowTheCoverAndPermissionsScreenRecordingFirst)
{
    fake.capture->allowed = false;
    fake.windowControl->trusted = false;
    makeModel();
    ContentView view(*model);

    using B = MenuBarBanner;
    EXPECT_TRUE(view.shownBanners().isEmpty());
    EXPECT_TRUE(view.bannerWidgets().isEmpty());

    model->setMenuBarCover(MenuBarCover::entire);
    EXPECT_EQ(view.shownBanners(), QList<B>{B::screenRecording});
    model->setMenuBarCover(MenuBarCover::items);
    EXPECT_EQ(view.shownBanners(), (QList<B>{B::screenRecording, B::itemNames}));
    const QList<QWidget*> widgets = view.bannerWidgets();
    ASSERT_EQ(widgets.size(), 2);
    EXPECT_TRUE(widgets[0]->accessibleName().startsWith(QStringLiteral("Grant Screen Recording")));
    EXPECT_TRUE(
        widgets[1]->accessibleName().startsWith(QStringLiteral("Grant Accessibility to show")));

    // Its grant button asks for screen capture; once granted only the naming banner stays.
    fake.capture->grantOnRequest = true;
    QAbstractButton* grant = widgets[0]->findChild<QAbstractButton*>();
    ASSERT_NE(grant, nullptr);
    const int requestsBefore = fake.capture->requests;
    grant->click();
    EXPECT_GT(fake.capture->requests, requestsBefore);
    EXPECT_EQ(view.shownBanners(), QList<B>{B::itemNames});

    // The cases the panel did not reach above.
    using ContentRules::menuBarBanners;
    EXPECT_TRUE(menuBarBanners(MenuBarCover::keep, false, false).isEmpty());
    EXPECT_TRUE(menuBarBanners(MenuBarCover::entire, true, false).isEmpty());
    EXPECT_TRUE(menuBarBanners(MenuBarCover::items, true, true).isEmpty());
}

TEST(ContentRules, fadeStopsOnlyAtEdgesWithMoreTilesBeyondThem)
{
    using ContentRules::fadeStops;
    const QRectF viewport(0, 0, 400, 80);
    const double f = 22.0 / 400;
    // Scrolled fully left: only the trailing edge fades.
    EXPECT_EQ(fadeStops(0, 900, viewport),
              (QList<FadeStop>{{0, true}, {0, true}, {1 - f, true}, {1, false}}));
    // In the middle both fade.
    EXPECT_EQ(fadeStops(-200, 700, viewport),
              (QList<FadeStop>{{0, false}, {f, true}, {1 - f, true}, {1, false}}));
    // Scrolled fully right: only the leading edge.
    EXPECT_EQ(fadeStops(-500, 400, viewport),
              (QList<FadeStop>{{0, false}, {f, true}, {1, true}, {1, true}}));
    // One point beyond either end is tolerated; more is not.
    EXPECT_EQ(fadeStops(-1, 401, viewport),
              (QList<FadeStop>{{0, true}, {0, true}, {1, true}, {1, true}}));
    EXPECT_EQ(fadeStops(-1.5, 401.5, viewport)[0], (FadeStop{0, false}));
    EXPECT_EQ(fadeStops(-1.5, 401.5, viewport)[3], (FadeStop{1, false}));

    // At most 12 % of the width, at most 22 points.
    EXPECT_DOUBLE_EQ(ContentRules::fadeFraction(150) * 150, 18.0);
    EXPECT_DOUBLE_EQ(ContentRules::fadeFraction(400) * 400, 22.0);
    EXPECT_DOUBLE_EQ(ContentRules::fadeFraction(1), 0.12);
}

TEST_F(PanelFixture, resolutionStripFadesTheEdgesItCanScrollPast)
{
    QList<PlatformDisplayMode> modes;
    for (int i = 0; i < 12; ++i)
        modes.append(
            {100 + i, 3840 - i * 200, 2160 - i * 112, 3840 - i * 200, 2160 - i * 112, 60.0, true});
    fake.displayModes->modes.insert(1, modes);
    fake.displayModes->current.insert(1, 100);
    makeModel();
    ContentView view(*model);
    view.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
    ResolutionStrip* strip = view.resolutionStrip();
    QScrollBar* bar = strip->horizontalScrollBar();
    ASSERT_GT(bar->maximum(), 0) << "the tiles should not fit";

    // At the start the trailing fade is drawn: the last column shows (almost only) the card
    // behind the strip.
    bar->setValue(0);
    const QPoint origin = strip->mapTo(&view, QPoint());
    const QImage image = view.grab(QRect(origin, strip->size() + QSize(3, 0))).toImage();
    for (int y = 0; y < image.height(); y += 4) {
        const QColor edge = image.pixelColor(strip->width() - 1, y);
        const QColor behind = image.pixelColor(strip->width() + 2, y);
        EXPECT_LE(std::abs(edge.red() - behind.red()) + std::abs(edge.green() - behind.green()) +
                      std::abs(edge.blue() - behind.blue()),
                  3 * 16)
            << "at y " << y;
    }

    // Without a scroll bar the strip still scrolls: a vertical wheel moves it sideways.
    QWheelEvent wheel(QPointF(10, 10), strip->mapToGlobal(QPointF(10, 10)), QPoint(),
                      QPoint(0, -120), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(strip->viewport(), &wheel);
    EXPECT_GT(bar->value(), 0);
}

TEST_F(PanelFixture, windowListSelectsTheFirstRowAndDisablesCellsWithoutASelection)
{
    makeModel();
    ContentView view(*model);
    view.show();
    WindowListBox* list = view.windowList();
    ASSERT_EQ(list->rows().size(), 2);
    EXPECT_TRUE(list->emptyLabel()->isHidden());
    EXPECT_TRUE(list->rows()[0]->isSelected());
    EXPECT_EQ(list->rows()[0]->accessibleName(), QStringLiteral("Terminal \u2014 ~/src/quillet"));

    // Long labels are shortened in the middle, keeping both ends.
    fake.windowControl->list = {
        {103, QStringLiteral("Browser"),
         QStringLiteral("A very long page title that cannot possibly fit in the list")}};
    view.refreshButton()->click();
    ASSERT_EQ(list->rows().size(), 1);
    QApplication::processEvents();
    const QString shown = list->rows()[0]->shownText();
    EXPECT_TRUE(shown.startsWith(QStringLiteral("Browser"))) << shown.toStdString();
    EXPECT_TRUE(shown.endsWith(QStringLiteral("list"))) << shown.toStdString();
    EXPECT_TRUE(shown.contains(QChar(0x2026)));

    // No windows: the placeholder text, no selection, every cell disabled.
    fake.windowControl->list.clear();
    view.refreshButton()->click();
    EXPECT_TRUE(list->rows().isEmpty());
    EXPECT_FALSE(list->emptyLabel()->isHidden());
    EXPECT_EQ(list->emptyLabel()->text(), QStringLiteral("No windows"));
    for (QAbstractButton* cell : view.repositionCells() + view.centerCells())
        EXPECT_FALSE(cell->isEnabled()) << cell->accessibleName().toStdString();
    // ... but the columns themselves stay usable: the refresh button still works.
    EXPECT_TRUE(view.refreshButton()->isEnabled());
}

TEST_F(PanelFixture, withoutWindowControlTheBannerShowsAndTheColumnsAreInert)
{
    fake.windowControl->trusted = false;
    makeModel();
    ContentView view(*model);
    EXPECT_FALSE(view.windowBanner()->isHidden());
    EXPECT_FALSE(view.windowColumns()->isEnabled());
    EXPECT_FALSE(view.refreshButton()->isEnabled());

    // The grant button prompts, and the columns come alive once control is possible.
    fake.windowControl->trusted = true;
    view.windowBanner()->findChild<QAbstractButton*>()->click();
    EXPECT_EQ(fake.windowControl->prompts, 1);
    EXPECT_TRUE(view.windowBanner()->isHidden());
    EXPECT_TRUE(view.windowColumns()->isEnabled());
    EXPECT_EQ(view.windowList()->rows().size(), 2);
}

TEST_F(PanelFixture, desktopAndCoverThumbsCallTheModelAndOpenTheirPopovers)
{
    ContentView& view = showWindow();

    view.pickThumb(QStringLiteral("Icons"), QStringLiteral("Hide"))->click();
    EXPECT_TRUE(model->desktopIconsHidden());
    view.pickThumb(QStringLiteral("Icons"), QStringLiteral("Show"))->click();
    EXPECT_FALSE(model->desktopIconsHidden());

    view.pickThumb(QStringLiteral("Background"), QStringLiteral("Color"))->click();
    EXPECT_EQ(model->background(), DesktopBackground::color);
    EXPECT_TRUE(view.showColorPopover());
    // Its picker shows the model's colour, also when it is changed elsewhere.
    model->setBackgroundColor({0.0, 0.5, 0.0, 1.0});
    EXPECT_EQ(view.colorPopover()->findChild<ColorPickerPopover*>()->hexText(),
              QStringLiteral("008000"));
    // A press elsewhere in the window dismisses it; the choice stays.
    QTest::mousePress(view.windowList(), Qt::LeftButton);
    EXPECT_FALSE(view.showColorPopover());
    EXPECT_EQ(model->background(), DesktopBackground::color);
    // The Image choice opens the wells; picking or clearing one goes to the model and the
    // preview follows.
    model->setLightWallpaperURL(std::nullopt);
    auto* image = static_cast<PickThumb*>(
        view.pickThumb(QStringLiteral("Background"), QStringLiteral("Image")));
    image->click();
    EXPECT_EQ(model->background(), DesktopBackground::image);
    EXPECT_TRUE(view.showImagePopover());
    const QList<WallpaperWell*> wells = view.imagePopover()->findChildren<WallpaperWell*>();
    ASSERT_EQ(wells.size(), 2);
    const QString picture = dirs.resourceDir() + QStringLiteral("/Dark.png");
    emit wells[0]->picked(picture);
    EXPECT_EQ(model->lightWallpaperURL(), picture);
    EXPECT_EQ(qobject_cast<MiniScreen*>(image->preview())->background().path, picture);
    emit wells[1]->cleared();
    EXPECT_EQ(model->darkWallpaperURL(), std::nullopt);
    view.imagePopover()->hide();
    view.pickThumb(QStringLiteral("Background"), QStringLiteral("Keep"))->click();
    EXPECT_EQ(model->background(), DesktopBackground::keep);
    EXPECT_FALSE(view.showColorPopover() || view.showImagePopover());

    view.pickThumb(QStringLiteral("Cover"), QStringLiteral("Hide bar"))->click();
    EXPECT_EQ(model->menuBarCover(), MenuBarCover::entire);
    EXPECT_FALSE(view.showItemsPopover());

    // The master switch never disables anything.
    model->setEnabled(false);
    EXPECT_TRUE(view.restoreButton()->isEnabled());
    EXPECT_TRUE(view.pickThumb(QStringLiteral("Cover"), QStringLiteral("Keep"))->isEnabled());
    EXPECT_TRUE(view.windowColumns()->isEnabled());
}

TEST_F(PanelFixture, everyControlIsNamed)
{
    ContentView& view = showWindow();
    // Every control that takes the focus, popovers included, has a name for assistive tools.
    int controls = 0;
    for (QWidget* root : QList<QWidget*>{&view, view.customPopover(), view.colorPopover(),
                                         view.imagePopover(), view.itemsPopover()}) {
        for (QWidget* widget : root->findChildren<QWidget*>()) {
            if (widget->focusPolicy() == Qt::NoFocus)
                continue;
            ++controls;
            QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(widget);
            ASSERT_NE(accessible, nullptr);
            EXPECT_FALSE(accessible->text(QAccessible::Name).isEmpty())
                << widget->metaObject()->className() << " " << widget->objectName().toStdString();
        }
    }
    EXPECT_GT(controls, 90);
}

TEST_F(PanelFixture, tabVisitsTheCardsInReadingOrderWithOneStopPerGroup)
{
    fake.capture->allowed = false;
    ContentView& view = showWindow();
    model->setMenuBarCover(MenuBarCover::entire);
    view.window()->activateWindow();
    view.restoreButton()->setFocus(Qt::TabFocusReason);

    // Tab from "Restore Original" round the whole panel, printing each stop.
    QStringList stops;
    for (int i = 0; i < 40; ++i) {
        QWidget* focus = QApplication::focusWidget();
        ASSERT_NE(focus, nullptr);
        const QString name =
            focus->accessibleName().isEmpty() ? focus->objectName() : focus->accessibleName();
        if (!stops.isEmpty() && name == stops.first())
            break;
        stops << name;
        QTest::keyClick(focus, Qt::Key_Tab);
    }
    std::printf("Tab order: %s\n", qPrintable(stops.join(QStringLiteral(" | "))));
    // Resolution (its header's button, then the current tile), the window card (the list's
    // header, the selected row, the two groups of cells), the panel banner, Desktop (Icons,
    // Background) and Menu Bar: one stop per group, at its chosen member.
    EXPECT_EQ(stops, (QStringList{"Restore Original", "1440 \u00D7 900", "Refresh window list",
                                  "Terminal \u2014 ~/src/quillet", "Left half", "Fill screen",
                                  PermissionBanner::grantTitle(), "Show", "Keep", "Hide bar"}));
}

TEST_F(PanelFixture, arrowKeysMoveInsideAGroupAndTabLeavesIt)
{
    ContentView& view = showWindow();
    view.window()->activateWindow();
    const QList<QAbstractButton*>& cells = view.repositionCells();
    cells[0]->setFocus(Qt::TabFocusReason);
    // Right along the row, down to the next row of three, Home and End to the ends.
    QTest::keyClick(cells[0], Qt::Key_Right);
    EXPECT_TRUE(cells[1]->hasFocus());
    QTest::keyClick(cells[1], Qt::Key_Down);
    EXPECT_TRUE(cells[4]->hasFocus());
    QTest::keyClick(cells[4], Qt::Key_End);
    EXPECT_TRUE(cells[8]->hasFocus());
    QTest::keyClick(cells[8], Qt::Key_Down);
    EXPECT_TRUE(cells[8]->hasFocus()) << "no row below the last";
    // Only the last used cell is a Tab stop; Tab goes on to the centre group.
    for (QAbstractButton* cell : cells)
        EXPECT_EQ(bool(cell->focusPolicy() & Qt::TabFocus), cell == cells[8])
            << cell->accessibleName().toStdString();
    QTest::keyClick(cells[8], Qt::Key_Tab);
    EXPECT_TRUE(view.centerCells().first()->hasFocus());
    // Space presses the focused cell.
    QTest::keyClick(view.centerCells().first(), Qt::Key_Space);
    EXPECT_TRUE(fake.windowControl->log.join(QLatin1Char('|')).contains(QStringLiteral("size 101")))
        << fake.windowControl->log.join(QLatin1Char('|')).toStdString();

    // The colour picker's 55 swatches are one stop too: five rows of eleven.
    auto* picker = view.colorPopover()->findChild<ColorPickerPopover*>();
    ASSERT_NE(picker, nullptr);
    int tabStops = 0;
    for (QWidget* swatch : picker->findChildren<QWidget*>())
        tabStops += swatch->metaObject()->className() == QByteArray("ColorSwatch") &&
                    (swatch->focusPolicy() & Qt::TabFocus);
    EXPECT_EQ(tabStops, 1);
}

TEST_F(PanelFixture, focusedPicturesShowARingInsideThemselves)
{
    ContentView& view = showWindow();
    view.window()->activateWindow();
    const auto ringPixels = [](QWidget* widget) {
        const QImage image = widget->grab().toImage();
        const QColor accent = widget->palette().color(QPalette::Highlight);
        int count = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x) {
                const QColor c = image.pixelColor(x, y);
                count += std::abs(c.red() - accent.red()) + std::abs(c.green() - accent.green()) +
                             std::abs(c.blue() - accent.blue()) <
                         40;
            }
        return count;
    };
    // An unselected thumbnail, a cell and a tile: with the focus, a ring of accent pixels shows
    // all the way round, inside the widget.
    QWidget* notCurrentTile = nullptr;
    for (QWidget* tile : view.resolutionStrip()->tiles())
        if (!static_cast<ResolutionTile*>(tile)->isCurrent())
            notCurrentTile = tile;
    ASSERT_NE(notCurrentTile, nullptr);
    for (QWidget* widget :
         QList<QWidget*>{view.pickThumb(QStringLiteral("Cover"), QStringLiteral("Hide bar")),
                         view.repositionCells()[0], notCurrentTile}) {
        widget->clearFocus();
        QApplication::processEvents();
        const int without = ringPixels(widget);
        widget->setFocus(Qt::TabFocusReason);
        QApplication::processEvents();
        const int with = ringPixels(widget);
        EXPECT_GT(with - without, 2 * (46 + 30)) << widget->accessibleName().toStdString();
    }
}

TEST_F(PanelFixture, grantTellsWhatIsMissingWhenAskingDidNotHelp)
{
    fake.windowControl->trusted = false;
    fake.capture->allowed = false;
    makeModel();
    ContentView view(*model);
    EXPECT_TRUE(view.windowBanner()->advice().isEmpty());
    view.windowBanner()->grantButton()->click();
    EXPECT_TRUE(view.windowBanner()->advice().contains(QStringLiteral("EWMH")))
        << view.windowBanner()->advice().toStdString();
    EXPECT_FALSE(view.windowBanner()->findChild<QLabel*>(QStringLiteral("advice"))->isHidden());

    model->setMenuBarCover(MenuBarCover::entire);
    auto* capture = static_cast<PermissionBanner*>(view.bannerWidgets().first());
    capture->grantButton()->click();
    EXPECT_TRUE(capture->advice().contains(QStringLiteral("refuses")))
        << capture->advice().toStdString();
}

TEST_F(PanelFixture, aWaylandSessionBannerComesFirstAndTheEmptyStripSaysWhy)
{
    // The banner's texts and Grant…'s advice are checked on a real desktop; here, the placement.
    fake.windowControl->trusted = false;
    fake.windowControl->gap = PermissionGap::waylandSession;
    fake.capture->allowed = false;
    fake.displayModes->modes.clear();
    makeModel();
    ContentView view(*model);
    view.show();
    EXPECT_FALSE(view.sessionBanner()->isHidden());
    EXPECT_LT(view.sessionBanner()->mapTo(&view, QPoint()).y(),
              view.resolutionStrip()->mapTo(&view, QPoint()).y());
    EXPECT_FALSE(view.noModesLabel()->isHidden());
    EXPECT_TRUE(view.noModesLabel()->text().contains(QStringLiteral("Wayland")));
}

TEST_F(PanelFixture, layoutLinesUpColumnsAndRowsAndKeepsItsWidthAcrossModes)
{
    ContentView& view = showWindow();
    QApplication::processEvents();
    // The three column headers and what is below them start on the same lines.
    const int list = yIn(view.windowList(), &view);
    EXPECT_EQ(list, yIn(view.repositionCells().first(), &view));
    EXPECT_EQ(list, yIn(view.centerCells().first(), &view));
    QList<int> headers;
    for (const QString& title :
         {QStringLiteral("Windows"), QStringLiteral("Reposition"), QStringLiteral("Center")})
        for (QLabel* label : view.findChildren<QLabel*>())
            if (label->text() == title)
                headers << yIn(label, &view);
    ASSERT_EQ(headers.size(), 3);
    EXPECT_EQ(headers[0], headers[1]);
    EXPECT_EQ(headers[0], headers[2]);

    // The bottom row ends where the cards above it end.
    const auto rightEdge = [&view](QWidget* widget) {
        while (widget && !widget->inherits("SectionCard"))
            widget = widget->parentWidget();
        return widget->mapTo(&view, QPoint(widget->width(), 0)).x();
    };
    const int cardsAbove = rightEdge(view.windowList());
    EXPECT_EQ(rightEdge(view.pickThumb(QStringLiteral("Cover"), QStringLiteral("Keep"))),
              cardsAbove);
    EXPECT_EQ(rightEdge(view.restoreButton()), cardsAbove);

    // A smaller mode offers fewer presets, but the window keeps its width.
    const int width = view.window()->width();
    model->apply(DisplayMode{11, 1280, 800, 1280, 800, 60.0});
    QApplication::processEvents();
    EXPECT_EQ(view.window()->width(), width);

    // Cards stand out from the window behind them.
    const QColor background = view.palette().color(QPalette::Window);
    const QColor card = Look::controlBackground(view.palette());
    EXPECT_GT(std::abs(background.lightness() - card.lightness()), 8);
}

TEST_F(PanelFixture, opensInTheColoursTheThemeNameTellsAndTakesOnlyTheLatestFullAnswer)
{
    // A dark theme name; the portal's or GNOME's answer comes later.
    fake.appearance->guess = true;
    fake.appearance->answersLater = true;
    ContentView& view = showWindow();
    EXPECT_TRUE(Look::isDark(view.palette()));
    ASSERT_EQ(fake.appearance->questions.size(), 1u);
    // The desktop changes before the first answer arrives: the older answer no longer counts.
    fake.appearance->guess = false;
    fake.appearance->set(false);
    QApplication::processEvents();
    ASSERT_EQ(fake.appearance->questions.size(), 2u);
    EXPECT_FALSE(Look::isDark(view.palette()));
    fake.appearance->questions[0](true);
    QApplication::processEvents();
    EXPECT_FALSE(Look::isDark(view.palette()));
    // The portal prefers dark although the theme name does not say so.
    fake.appearance->questions[1](true);
    QApplication::processEvents();
    EXPECT_TRUE(Look::isDark(view.palette()));
}

TEST(WallpaperWell, chooserStartsBesideThePictureElseInThePicturesFolder)
{
    TestDirs dirs;
    const QString pictures = QDir::homePath() + QStringLiteral("/Bilder");
    QDir().mkpath(pictures);
    const QString config = qEnvironmentVariable("XDG_CONFIG_HOME", QDir::homePath() + "/.config");
    QDir().mkpath(config);
    QFile dirsFile(config + QStringLiteral("/user-dirs.dirs"));
    ASSERT_TRUE(dirsFile.open(QIODevice::WriteOnly));
    dirsFile.write("XDG_PICTURES_DIR=\"$HOME/Bilder\"\n");
    dirsFile.close();
    EXPECT_EQ(WallpaperWell::startDirectory(std::nullopt), pictures);
    const QString picture = dirs.resourceDir() + QStringLiteral("/Light.png");
    EXPECT_EQ(WallpaperWell::startDirectory(picture), QFileInfo(picture).absolutePath());
}

TEST_F(PanelFixture, aDesktopChoiceThatCannotWorkIsExplainedNamingTheDesktopAndWhatIsMissing)
{
    ContentView& panel = showWindow();
    auto* banner = panel.findChild<DesktopSupportBanner*>(QStringLiteral("desktopSupportBanner"));
    ASSERT_NE(banner, nullptr);
    AppModel& m = *model;
    m.setBackground(DesktopBackground::color);
    m.setDesktopIconsHidden(true);
    // Everything works on this desktop: nothing to say.
    EXPECT_FALSE(banner->isVisible());

    DesktopSupport::State mate;
    mate.desktop = QStringLiteral("MATE");
    mate.drawnBy = QStringLiteral("caja");
    mate.picturesGap =
        QStringLiteral("caja draws the desktop, and Quillet cannot give it a picture yet");
    mate.iconsGap =
        QStringLiteral("caja draws the desktop icons, and Quillet cannot hide them there yet");
    fake.desktopSupport->takeOver(mate);
    EXPECT_TRUE(banner->isVisible());
    EXPECT_EQ(
        banner->text(),
        QStringLiteral("Icons: “Hide” has no effect on MATE: caja draws the desktop icons, and "
                       "Quillet cannot hide them there yet.\nBackground: “Color” has no "
                       "effect on MATE: caja draws the desktop, and Quillet cannot give it a "
                       "picture yet."));
    EXPECT_EQ(banner->accessibleName(), banner->text());

    // Only what the user chose is explained; choosing to keep things as they are says nothing.
    m.setDesktopIconsHidden(false);
    m.setBackground(DesktopBackground::keep);
    EXPECT_FALSE(banner->isVisible());
    m.setBackground(DesktopBackground::image);
    EXPECT_TRUE(
        banner->text().startsWith(QStringLiteral("Background: “Image” has no effect on MATE")));

    // A picture that reaches only part of the desktop says which part keeps its own.
    DesktopSupport::State lxde;
    lxde.desktop = QStringLiteral("LXDE");
    lxde.pictures = lxde.icons = true;
    lxde.picturesLimit = QStringLiteral("the other monitors keep their own");
    fake.desktopSupport->takeOver(lxde);
    EXPECT_EQ(banner->text(), QStringLiteral("Background: “Image” reaches only part of LXDE: the "
                                             "other monitors keep their own."));
    m.setBackground(DesktopBackground::keep);
    EXPECT_FALSE(banner->isVisible());

    // A panel the shell draws itself: either cover is explained, naming the one chosen.
    DesktopSupport::State gnome;
    gnome.desktop = QStringLiteral("GNOME");
    gnome.pictures = true;
    gnome.coverGap = QStringLiteral("GNOME Shell draws its panels itself");
    fake.desktopSupport->takeOver(gnome);
    m.setMenuBarCover(MenuBarCover::entire);
    EXPECT_EQ(banner->text(), QStringLiteral("Menu bar: “Hide bar” has no effect on GNOME: GNOME "
                                             "Shell draws its panels itself."));
    m.setMenuBarCover(MenuBarCover::items);
    EXPECT_TRUE(banner->text().startsWith(QStringLiteral("Menu bar: “Hide items” has no effect")));
    m.setMenuBarCover(MenuBarCover::keep);
    EXPECT_FALSE(banner->isVisible());

    // A panel that does not tell where its tray icons are, as the panel scan finds: only
    // "Hide items" is explained, and only while the scan says so.
    DesktopSupport::State lxqt;
    lxqt.desktop = QStringLiteral("LXQt");
    lxqt.pictures = lxqt.icons = true;
    fake.desktopSupport->takeOver(lxqt);
    fake.panelScan->itemsGap = QStringLiteral("lxqt-panel draws its tray icons itself");
    m.setMenuBarCover(MenuBarCover::items);
    m.refreshMenuBarItems();
    EXPECT_EQ(banner->text(), QStringLiteral("Menu bar: “Hide items” has no effect on LXQt: "
                                             "lxqt-panel draws its tray icons itself."));
    m.setMenuBarCover(MenuBarCover::entire);
    EXPECT_FALSE(banner->isVisible());
    m.setMenuBarCover(MenuBarCover::items);
    fake.panelScan->itemsGap.clear();
    m.refreshMenuBarItems();
    EXPECT_FALSE(banner->isVisible()) << "a later scan that places the icons says nothing";
}

TEST_F(PanelFixture, windowsListedAfterTheFirstPaintLeaveTheListBlankUntilThen)
{
    // The program's own model: the window opens before the other windows are read.
    preferences = std::make_unique<Preferences>(store, *fake.loginItems, nullptr);
    AppModel::Dependencies deps{fake, store, scheduler, {dirs.resourceDir()}, preferences.get()};
    deps.listWindowsLater = true;
    model = std::make_unique<AppModel>(deps);
    window = std::make_unique<MainWindow>(*model, *preferences);
    QObject::connect(window.get(), &MainWindow::firstPainted, model.get(),
                     &AppModel::refreshWindows);
    WindowListBox* list = window->content()->windowList();
    EXPECT_FALSE(model->windowsListed());
    EXPECT_TRUE(list->rows().isEmpty());
    EXPECT_TRUE(list->emptyLabel()->isHidden()) << "no \"No windows\" before the list is read";

    // Symbols are our own until the window has been painted, then the theme's.
    Look::holdThemeSymbols();
    int redrawn = 0;
    auto* gone = new QObject;
    Look::whenThemeSymbolsArrive(window.get(), [&] { ++redrawn; });
    Look::whenThemeSymbolsArrive(gone, [&] { redrawn += 100; });
    delete gone;
    window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    QTRY_VERIFY(model->windowsListed());
    EXPECT_FALSE(Look::themeSymbolsHeld());
    EXPECT_EQ(redrawn, 1) << "only the living widget draws again";
    ASSERT_EQ(list->rows().size(), 2);
    EXPECT_TRUE(list->rows()[0]->isSelected());
    // Released symbols need no waiting.
    Look::whenThemeSymbolsArrive(window.get(), [&] { ++redrawn; });
    EXPECT_EQ(redrawn, 1);

    // A listing that finds nothing says so.
    fake.windowControl->list.clear();
    model->refreshWindows();
    EXPECT_FALSE(list->emptyLabel()->isHidden());
}
