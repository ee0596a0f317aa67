// The Resolution card: the display picker (with two or more displays), one tile per mode of the
// selected display, and "Restore Original" in its header.
#pragma once

#include "components/SectionCard.h"
#include "core/AppModel.h"

#include <QList>

class FocusGroup;
class QAbstractButton;
class QComboBox;
class QLabel;
class ResolutionStrip;

class ResolutionCard final : public SectionCard {
    Q_OBJECT
public:
    explicit ResolutionCard(AppModel& model, QWidget* parent = nullptr);

    QComboBox* displayPicker() const { return m_displayPicker; }
    // The "Display" row, hidden with fewer than two displays.
    QWidget* displayRow() const { return m_displayRow; }
    ResolutionStrip* strip() const { return m_strip; }
    QAbstractButton* restoreButton() const { return m_restore; }
    QLabel* noModesLabel() const { return m_noModes; }
    // The header's button, the picker, then every tile (one Tab stop for the tiles).
    QList<QWidget*> focusOrder() const;

signals:
    // The tiles were made anew: the Tab order must be set again.
    void focusOrderChanged();

private:
    void onPublished(AppModel::Field field);
    void refreshDisplays();
    void refreshTiles();

    AppModel& m_model;
    QWidget* m_displayRow = nullptr;
    QComboBox* m_displayPicker = nullptr;
    ResolutionStrip* m_strip = nullptr;
    QLabel* m_noModes = nullptr;
    QAbstractButton* m_restore = nullptr;
    FocusGroup* m_tileGroup = nullptr;
    QList<DisplayMode> m_tileModes;
};
