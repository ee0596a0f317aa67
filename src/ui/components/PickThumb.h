// A clickable thumbnail: a small preview framed in a rounded rectangle, outlined in the accent
// colour when it is the current choice, with a label below. Clicks come out as `clicked`.
#pragma once

#include <QAbstractButton>
#include <QPointF>
#include <QRectF>
#include <QString>

class QPainter;

class PickThumb final : public QAbstractButton {
    Q_OBJECT
public:
    static constexpr int previewWidth = 58;
    static constexpr int previewHeight = 38;
    static constexpr double cornerRadius = 5.0;
    static constexpr int spacing = 4;

    // Takes ownership of `preview` (may be null) and shows it 58 × 38 inside the frame.
    PickThumb(const QString& label, bool selected, QWidget* preview, QWidget* parent = nullptr);

    QString label() const { return text(); }
    bool isSelected() const { return isChecked(); }
    void setSelected(bool selected);
    QWidget* preview() const { return m_preview; }

    // The frame of the preview inside a thumbnail `width` wide.
    static QRectF previewRect(int width);
    // The stroke around the preview: 2 in the accent colour when selected, else 1.
    static double strokeWidth(bool selected) { return selected ? 2.0 : 1.0; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    // Selection is set by the caller, never toggled by a click.
    void nextCheckState() override {}

private:
    void paintFrame(QPainter& painter, QPointF origin);

    QWidget* m_preview = nullptr;
};
