// One mask over the top panel: a frameless, override-redirect window that lets every click
// through to the panel underneath, never takes the focus and lies above every workspace.
#pragma once

#include <QColor>
#include <QImage>
#include <QWidget>
#include <optional>

class SliceView;

class MaskWindow final : public QWidget {
    Q_OBJECT
public:
    // `geometry` in the screen's logical pixels (root coordinates). With a picture the window
    // shows it through a SliceView over a clear background; without one it is filled with
    // `fill`, opaque exactly when the colour is.
    MaskWindow(const QRect& geometry, const std::optional<QImage>& image, const QColor& fill);

    // Shows the window in front without activating the program.
    void orderFrontRegardless();

    SliceView* sliceView() const { return m_view; }
    QColor fill() const { return m_fill; }
    // Whether the window has painted since it was shown.
    bool hasPainted() const { return m_painted; }

signals:
    // After the window's own painting; its children paint in the same pass.
    void painted();

protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void notePainted();

    SliceView* m_view = nullptr;
    QColor m_fill;
    bool m_painted = false;
};
