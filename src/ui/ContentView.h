// The content of the main window: one fixed panel of four cards (resolution, window, desktop,
// panel cover) through which every feature is driven. It keeps only presentation state; every
// control calls one model operation, and the panel redraws on every published change.
#pragma once

#include "ContentRules.h"
#include "core/AppModel.h"

#include <QHash>
#include <QList>
#include <QWidget>

class CustomSizeForm;
class FocusGroup;
class PermissionBanner;
class PickThumb;
class WallpaperWell;
class Popover;
class QAbstractButton;
class QCheckBox;
class QComboBox;
class QHBoxLayout;
class QLabel;
class QVBoxLayout;
class ResolutionStrip;
class SessionBanner;
class WindowListBox;

class ContentView final : public QWidget {
    Q_OBJECT
public:
    explicit ContentView(AppModel& model, QWidget* parent = nullptr);

    // --- what the panel shows, for tests and assistive tools ---
    double panelWidth() const { return m_panelWidth; }
    QComboBox* displayPicker() const { return m_displayPicker; }
    // The "Display" row, hidden with fewer than two displays.
    QWidget* displayRow() const { return m_displayRow; }
    ResolutionStrip* resolutionStrip() const { return m_strip; }
    QAbstractButton* restoreButton() const { return m_restore; }
    WindowListBox* windowList() const { return m_windowList; }
    QWidget* windowColumns() const { return m_columns; }
    QAbstractButton* refreshButton() const { return m_refresh; }
    PermissionBanner* windowBanner() const { return m_windowBanner; }
    SessionBanner* sessionBanner() const { return m_sessionBanner; }
    QLabel* noModesLabel() const { return m_noModes; }
    const QList<QAbstractButton*>& repositionCells() const { return m_repositionCells; }
    const QList<QAbstractButton*>& centerCells() const { return m_centerCells; }
    const QList<CenterItem>& shownCenterItems() const { return m_centerItems; }
    const QList<MenuBarBanner>& shownBanners() const { return m_bannerKinds; }
    // The banner widgets in the order they are laid out.
    QList<QWidget*> bannerWidgets() const;
    // A thumb of the Desktop or Menu Bar card by group ("Icons", "Background", "Cover") and label.
    QAbstractButton* pickThumb(const QString& group, const QString& label) const;

    // --- the popovers ---
    Popover* customPopover() const { return m_customPopover; }
    CustomSizeForm* customForm() const { return m_customForm; }
    Popover* colorPopover() const { return m_colorPopover; }
    Popover* imagePopover() const { return m_imagePopover; }
    Popover* itemsPopover() const { return m_itemsPopover; }
    bool showCustomPopover() const;
    bool showColorPopover() const;
    bool showImagePopover() const;
    bool showItemsPopover() const;
    QList<QCheckBox*> itemToggles() const { return m_itemToggles; }
    QAbstractButton* rescanButton() const { return m_rescan; }

    // The controls in the order Tab visits them: card by card, top to bottom, left to right;
    // every member of a group (tiles, rows, cells, thumbnails) is listed, though Tab stops
    // only at one of them.
    QList<QWidget*> focusChain() const;

    // Reads the two custom fields and resizes the selected window when both are valid sizes;
    // closes the popover in every case.
    void confirmCustomSize();

protected:
    void changeEvent(QEvent* event) override;

private:
    QWidget* buildResolutionCard();
    QWidget* buildWindowCard();
    QWidget* buildDesktopCard();
    QWidget* buildMenuBarCard();
    void buildPopovers();

    void onPublished(AppModel::Field field);
    void refreshDisplays();
    void refreshTiles();
    void refreshWindowList();
    void refreshWindowControls();
    void refreshCenterCells();
    void refreshBanners();
    void refreshDesktop();
    void refreshCover();
    void refreshItems();
    void updatePanelWidth();
    void updateSymbols();
    void openCustomPopover(QWidget* anchor);
    void updateTabOrder();

    AppModel& m_model;
    double m_panelWidth = ContentRules::kInitialPanelWidth;

    QWidget* m_panel = nullptr;
    QVBoxLayout* m_panelLayout = nullptr;
    QWidget* m_bottomRow = nullptr;
    QWidget* m_windowCard = nullptr;

    QWidget* m_displayRow = nullptr;
    QComboBox* m_displayPicker = nullptr;
    ResolutionStrip* m_strip = nullptr;
    QLabel* m_noModes = nullptr;
    SessionBanner* m_sessionBanner = nullptr;
    QAbstractButton* m_restore = nullptr;

    PermissionBanner* m_windowBanner = nullptr;
    QWidget* m_columns = nullptr;
    WindowListBox* m_windowList = nullptr;
    QAbstractButton* m_refresh = nullptr;
    QList<QAbstractButton*> m_repositionCells;
    QVBoxLayout* m_centerRows = nullptr;
    QList<QWidget*> m_centerRowWidgets;
    QList<QAbstractButton*> m_centerCells;
    QList<CenterItem> m_centerItems;
    qint64 m_centerForWidth = -1;
    qint64 m_centerForHeight = -1;

    QVBoxLayout* m_bannerLayout = nullptr;
    QWidget* m_bannerBox = nullptr;
    QLabel* m_desktopNotice = nullptr;
    QList<MenuBarBanner> m_bannerKinds;
    QHash<MenuBarBanner, QWidget*> m_banners;

    QHBoxLayout* m_iconsRow = nullptr;
    QHBoxLayout* m_backgroundRow = nullptr;
    QHBoxLayout* m_coverRow = nullptr;
    QHash<QString, PickThumb*> m_thumbs;

    Popover* m_customPopover = nullptr;
    CustomSizeForm* m_customForm = nullptr;
    Popover* m_colorPopover = nullptr;
    QWidget* m_colorPicker = nullptr;
    Popover* m_imagePopover = nullptr;
    QHBoxLayout* m_wellsRow = nullptr;
    WallpaperWell* m_lightWell = nullptr;
    WallpaperWell* m_darkWell = nullptr;
    Popover* m_itemsPopover = nullptr;
    QVBoxLayout* m_itemsLayout = nullptr;
    QLabel* m_noItems = nullptr;
    QAbstractButton* m_rescan = nullptr;
    QList<QCheckBox*> m_itemToggles;
    QList<MenuBarItem> m_toggledItems;
    QList<DisplayMode> m_tileModes;

    // One Tab stop each; the arrow keys move inside.
    FocusGroup* m_tileGroup = nullptr;
    FocusGroup* m_rowGroup = nullptr;
    FocusGroup* m_repositionGroup = nullptr;
    FocusGroup* m_centerGroup = nullptr;
    FocusGroup* m_iconsGroup = nullptr;
    FocusGroup* m_backgroundGroup = nullptr;
    FocusGroup* m_coverGroup = nullptr;
};
