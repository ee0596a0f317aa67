// A small transient panel anchored below a control. It closes when it loses the focus (the
// user clicked elsewhere) or on Escape. It is a frameless tool window rather than a popup
// menu, so assistive tools see it and its controls like those of any other window.
#pragma once

#include <QFrame>
#include <QPointer>
#include <functional>

class QWindow;

class Popover final : public QFrame {
    Q_OBJECT
public:
    // `name` is the accessible name of the panel.
    Popover(const QString& name, QWidget* parent);

    // Opens below `anchor`, horizontally centred on it, kept on the anchor's screen.
    void open(QWidget* anchor);
    QWidget* anchor() const { return m_anchor; }

    // Marks a panel's native window as one that taskbars and pagers leave out; installed by
    // the application shell, which knows the desktop (a tool window alone is listed by some
    // taskbars). Runs before the window is mapped.
    static void setKeepOffTaskbar(std::function<void(QWindow*)> hint);

signals:
    void opened();
    void closed();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QPointer<QWidget> m_anchor;
    bool m_wasActive = false;
};
