// A small transient panel anchored below a control; it closes when the user clicks outside it
// or presses Escape, as popups on the Linux desktop do.
#pragma once

#include <QFrame>
#include <QPointer>

class Popover final : public QFrame {
    Q_OBJECT
public:
    // `name` is the accessible name of the panel.
    Popover(const QString& name, QWidget* parent);

    // Opens below `anchor`, horizontally centred on it, kept on the anchor's screen.
    void open(QWidget* anchor);
    QWidget* anchor() const { return m_anchor; }

signals:
    void opened();
    void closed();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QPointer<QWidget> m_anchor;
};
