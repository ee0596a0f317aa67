// One row of the window list: the window's label on one line, shortened in the middle, and
// highlighted in the accent colour while it is the selected window.
#pragma once

#include <QAbstractButton>

class WindowRow final : public QAbstractButton {
    Q_OBJECT
public:
    WindowRow(const QString& label, QWidget* parent = nullptr);

    void setSelected(bool selected);
    bool isSelected() const { return m_selected; }
    // The label as drawn at the current width.
    QString shownText() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    // The selection follows the model, never a click by itself.
    void nextCheckState() override {}

private:
    bool m_selected = false;
};
