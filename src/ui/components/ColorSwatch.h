// One preset colour of the colour picker: a small rounded square that is a plain button.
#pragma once

#include "core/RgbColor.h"

#include <QAbstractButton>
#include <QString>

class ColorSwatch final : public QAbstractButton {
    Q_OBJECT
public:
    static constexpr int side = 18;
    static constexpr double cornerRadius = 3.0;

    // `digits`: six hexadecimal digits, no "#".
    explicit ColorSwatch(const QString& digits, QWidget* parent = nullptr);

    QString digits() const { return m_digits; }
    // The colour of six digits read as one unsigned hexadecimal number (black when unreadable).
    static RgbColor colorOf(const QString& digits);

    QSize sizeHint() const override { return {side, side}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_digits;
    QColor m_color;
};
