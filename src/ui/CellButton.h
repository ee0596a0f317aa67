// A plain button around a picture widget: the cells of the Reposition and Center groups. The
// picture draws itself; the button adds the click, the keyboard focus and the disabled state.
#pragma once

#include <QAbstractButton>

class CellButton final : public QAbstractButton {
    Q_OBJECT
public:
    // Takes ownership of `picture`. `name` is the accessible name, `tip` the tooltip.
    CellButton(QWidget* picture, const QString& name, const QString& tip,
               QWidget* parent = nullptr);

    QWidget* picture() const { return m_picture; }
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    QWidget* m_picture = nullptr;
};
