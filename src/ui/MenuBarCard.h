// The Menu Bar card: keeping the top panel, covering it whole ("Hide bar") or hiding chosen
// tray icons ("Hide items", chosen in a popover listing the detected items).
#pragma once

#include "components/SectionCard.h"
#include "core/AppModel.h"

class FocusGroup;
class PickThumb;
class Popover;
class QAbstractButton;
class QCheckBox;
class QLabel;
class QVBoxLayout;

class MenuBarCard final : public SectionCard {
    Q_OBJECT
public:
    explicit MenuBarCard(AppModel& model, QWidget* parent = nullptr);

    Popover* itemsPopover() const { return m_itemsPopover; }
    const QList<QCheckBox*>& itemToggles() const { return m_itemToggles; }
    QAbstractButton* rescanButton() const { return m_rescan; }
    // The cover choices (one Tab stop).
    QList<QWidget*> focusOrder() const;
    // Redraws the symbols in the theme's colours.
    void updateSymbols();

private:
    void onPublished(AppModel::Field field);
    void refreshCover();
    void refreshItems();
    void buildItemsPopover();

    AppModel& m_model;
    QList<PickThumb*> m_coverThumbs; // in the order of allMenuBarCovers
    FocusGroup* m_coverGroup = nullptr;
    Popover* m_itemsPopover = nullptr;
    QVBoxLayout* m_itemsLayout = nullptr;
    QLabel* m_noItems = nullptr;
    QAbstractButton* m_rescan = nullptr;
    QList<QCheckBox*> m_itemToggles;
    QList<MenuBarItem> m_toggledItems;
};
