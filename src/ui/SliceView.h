// Shows a picture of the panel inside a mask window, stretched to the view's bounds without
// smoothing: a piece of the rebuilt panel lands pixel for pixel on device pixels, and a thin
// background strip is widened across the whole panel.
#pragma once

#include <QImage>
#include <QWidget>

class SliceView final : public QWidget {
    Q_OBJECT
public:
    // The picture is fixed for the view's lifetime; the owner sizes the view.
    explicit SliceView(QImage image, QWidget* parent = nullptr);

    const QImage& image() const { return m_image; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const QImage m_image;
};
