// The Window card: the list of other programs' windows, the eight regions and "Hide", the
// centred sizes of the current mode with "Custom", and the banner asking for the permission
// all of them need.
#pragma once

#include "ContentRules.h"
#include "components/SectionCard.h"
#include "core/AppModel.h"

#include <QList>

class CustomSizeForm;
class FocusGroup;
class PermissionBanner;
class Popover;
class QAbstractButton;
class QVBoxLayout;
class WindowListBox;

class WindowCard final : public SectionCard {
    Q_OBJECT
public:
    explicit WindowCard(AppModel& model, QWidget* parent = nullptr);

    WindowListBox* windowList() const { return m_windowList; }
    QWidget* columns() const { return m_columns; }
    QAbstractButton* refreshButton() const { return m_refresh; }
    PermissionBanner* banner() const { return m_banner; }
    const QList<QAbstractButton*>& repositionCells() const { return m_repositionCells; }
    const QList<QAbstractButton*>& centerCells() const { return m_centerCells; }
    const QList<CenterItem>& shownCenterItems() const { return m_centerItems; }
    Popover* customPopover() const { return m_customPopover; }
    CustomSizeForm* customForm() const { return m_customForm; }
    // The banner's button, the refresh button and the rows, then the two groups of cells.
    QList<QWidget*> focusOrder() const;

    // Reads the two custom fields and resizes the selected window when both are valid sizes;
    // closes the popover in every case.
    void confirmCustomSize();
    // Redraws the symbols in the theme's colours.
    void updateSymbols();

signals:
    // Rows or cells were made anew: the Tab order must be set again.
    void focusOrderChanged();

private:
    void onPublished(AppModel::Field field);
    void refreshWindowList();
    void refreshControls();
    void refreshCenterCells();
    void openCustomPopover(QWidget* anchor);

    AppModel& m_model;
    PermissionBanner* m_banner = nullptr;
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
    Popover* m_customPopover = nullptr;
    CustomSizeForm* m_customForm = nullptr;

    // One Tab stop each; the arrow keys move inside.
    FocusGroup* m_rowGroup = nullptr;
    FocusGroup* m_repositionGroup = nullptr;
    FocusGroup* m_centerGroup = nullptr;
};
