// The mask windows over the top panel: one per tile, rebuilt from nothing on every change of
// the tiles or of the hidden flag, and a callback when the monitor configuration changes.
#pragma once

#include "MaskTile.h"
#include "RgbColor.h"

#include <QList>
#include <QObject>
#include <functional>

class Screens;
class WindowManagerWatch;

// Creates and removes the mask windows; the widget side implements it.
class MaskPresenter {
public:
    virtual ~MaskPresenter() = default;
    // One click-through window per tile, above everything, in tile order. A tile with a
    // picture shows it pixel for pixel; one without is filled with `fallbackColor`. The
    // windows shown before are replaced: they go once the new ones show, never earlier.
    virtual void showMasks(const QList<MaskTile>& tiles, const RgbColor& fallbackColor) = 0;
    // Takes every mask window down and forgets it.
    virtual void clearMasks() = 0;
};

class OverlayController final : public QObject {
    Q_OBJECT
public:
    OverlayController(Screens& screens, WindowManagerWatch& managerWatch,
                      QObject* parent = nullptr);

    // The widget side; null shows nothing (tests of the model that do not look at masks).
    void setPresenter(MaskPresenter* presenter) { m_presenter = presenter; }

    // Every assignment, also of an equal value, rebuilds the windows.
    bool menuBarHidden() const { return m_menuBarHidden; }
    void setMenuBarHidden(bool hidden);
    const QList<MaskTile>& barTiles() const { return m_barTiles; }
    void setBarTiles(const QList<MaskTile>& tiles);
    // Both at once, with one rebuild: the new masks replace the old ones in one step.
    void setMenuBarHiddenAndTiles(bool hidden, const QList<MaskTile>& tiles);

    // The fill of a tile without a picture; opaque black unless changed.
    RgbColor fallbackColor() const { return m_fallbackColor; }
    void setFallbackColor(const RgbColor& color) { m_fallbackColor = color; }

    // Takes every mask window down and forgets it.
    void clearMenuBarWindows();

    // Called once per change of the monitor configuration.
    std::function<void()> onScreenChange;

private:
    void rebuildMenuBar();

    MaskPresenter* m_presenter = nullptr;
    bool m_menuBarHidden = false;
    RgbColor m_fallbackColor;
    QList<MaskTile> m_barTiles;
};
