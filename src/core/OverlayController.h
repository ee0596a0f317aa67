// The mask windows over the top panel: one per tile, rebuilt on every change of tiles or of
// the hidden flag, and a callback when the monitor configuration changes.
#pragma once

#include "MaskTile.h"
#include "RgbColor.h"

#include <QList>
#include <QObject>
#include <functional>

class Screens;

// Shows and removes the mask windows; the widget side implements it.
class MaskPresenter {
public:
    virtual ~MaskPresenter() = default;
    virtual void showMasks(const QList<MaskTile>& tiles, const RgbColor& fallbackColor) = 0;
    virtual void clearMasks() = 0;
};

class OverlayController final : public QObject {
    Q_OBJECT
public:
    explicit OverlayController(Screens& screens, QObject* parent = nullptr);

    // The widget side; null shows nothing (tests of the model that do not look at masks).
    void setPresenter(MaskPresenter* presenter) { m_presenter = presenter; }

    bool menuBarHidden() const { return m_menuBarHidden; }
    void setMenuBarHidden(bool hidden);
    const QList<MaskTile>& barTiles() const { return m_barTiles; }
    void setBarTiles(const QList<MaskTile>& tiles);
    RgbColor fallbackColor() const { return m_fallbackColor; }

    // Takes every mask window down and forgets it.
    void clearMenuBarWindows();

    // Called whenever the monitor configuration changes.
    std::function<void()> onScreenChange;

private:
    void rebuildMenuBar();

    MaskPresenter* m_presenter = nullptr;
    bool m_menuBarHidden = false;
    RgbColor m_fallbackColor;
    QList<MaskTile> m_barTiles;
};
