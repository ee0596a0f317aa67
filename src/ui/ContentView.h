// The content of the main window: one fixed panel of four cards (resolution, window, desktop,
// panel cover) through which every feature is driven, with the banners that explain what the
// session cannot do. Each card watches its own fields of the model; the panel lays the cards
// out, keeps the Tab order and its width, and shows the panel cover's permission banners.
#pragma once

#include "ContentRules.h"
#include "core/AppModel.h"

#include <QHash>
#include <QList>
#include <QWidget>

class CustomSizeForm;
class DesktopCard;
class MenuBarCard;
class PermissionBanner;
class Popover;
class QAbstractButton;
class QCheckBox;
class QComboBox;
class QLabel;
class QVBoxLayout;
class ResolutionCard;
class ResolutionStrip;
class SessionBanner;
class WindowCard;
class WindowListBox;

class ContentView final : public QWidget {
    Q_OBJECT
public:
    explicit ContentView(AppModel& model, QWidget* parent = nullptr);

    ResolutionCard* resolutionCard() const { return m_resolutionCard; }
    WindowCard* windowCard() const { return m_windowCard; }
    DesktopCard* desktopCard() const { return m_desktopCard; }
    MenuBarCard* menuBarCard() const { return m_menuBarCard; }

    // --- what the panel shows, for tests and assistive tools ---
    double panelWidth() const { return m_panelWidth; }
    QComboBox* displayPicker() const;
    // The "Display" row, hidden with fewer than two displays.
    QWidget* displayRow() const;
    ResolutionStrip* resolutionStrip() const;
    QAbstractButton* restoreButton() const;
    QLabel* noModesLabel() const;
    WindowListBox* windowList() const;
    QWidget* windowColumns() const;
    QAbstractButton* refreshButton() const;
    PermissionBanner* windowBanner() const;
    const QList<QAbstractButton*>& repositionCells() const;
    const QList<QAbstractButton*>& centerCells() const;
    const QList<CenterItem>& shownCenterItems() const;
    SessionBanner* sessionBanner() const { return m_sessionBanner; }
    const QList<MenuBarBanner>& shownBanners() const { return m_bannerKinds; }
    // The banner widgets in the order they are laid out.
    QList<QWidget*> bannerWidgets() const;
    // A choice of the Desktop or Menu Bar card by group ("Icons", "Background", "Cover") and
    // its English label.
    QAbstractButton* pickThumb(const QString& group, const QString& label) const;

    // --- the popovers ---
    Popover* customPopover() const;
    CustomSizeForm* customForm() const;
    Popover* colorPopover() const;
    Popover* imagePopover() const;
    Popover* itemsPopover() const;
    bool showCustomPopover() const;
    bool showColorPopover() const;
    bool showImagePopover() const;
    bool showItemsPopover() const;
    QList<QCheckBox*> itemToggles() const;
    QAbstractButton* rescanButton() const;

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
    void onPublished(AppModel::Field field);
    void refreshBanners();
    void updatePanelWidth();
    void updateSymbols();
    void updateTabOrder();

    AppModel& m_model;
    double m_panelWidth = ContentRules::kInitialPanelWidth;

    QWidget* m_panel = nullptr;
    QWidget* m_bottomRow = nullptr;
    SessionBanner* m_sessionBanner = nullptr;
    ResolutionCard* m_resolutionCard = nullptr;
    WindowCard* m_windowCard = nullptr;
    DesktopCard* m_desktopCard = nullptr;
    MenuBarCard* m_menuBarCard = nullptr;

    QVBoxLayout* m_bannerLayout = nullptr;
    QWidget* m_bannerBox = nullptr;
    QLabel* m_desktopNotice = nullptr;
    QList<MenuBarBanner> m_bannerKinds;
    QHash<MenuBarBanner, PermissionBanner*> m_banners;
};
