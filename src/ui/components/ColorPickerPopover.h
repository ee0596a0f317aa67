// The compact colour chooser for the solid desktop colour: a saturation–brightness pad, a hue
// strip, rows of preset swatches and a hexadecimal field, all editing one bound colour.
//
// Internally the picker works in hue, saturation and brightness. Two flags keep the bound colour
// and that state from feeding each other: reading the colour in raises `suppressOutbound` so the
// state it sets is not written back, and writing the colour out raises `suppressInbound` so the
// owner's change notification is not read back in. Each flag is lowered by a task queued at the
// end of the operation that raised it, after the notifications it caused have been delivered.
#pragma once

#include "core/RgbColor.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QWidget>
#include <functional>
#include <optional>

class ColorSwatch;
class HueStrip;
class QLabel;
class QLineEdit;
class SatBriPad;

class ColorPickerPopover final : public QWidget {
    Q_OBJECT
public:
    // The edited colour, shared with its owner: `get` reads it, `set` changes it. The owner
    // reports every change of the colour through `boundColorChanged`, also the ones `set` made,
    // for example from the model's `published(Field::backgroundColor)`.
    struct Binding {
        std::function<RgbColor()> get;
        std::function<void(const RgbColor&)> set;
    };

    struct Hsb {
        double hue = 0.0;
        double sat = 0.0;
        double bri = 0.0;
    };

    static constexpr int padding = 16;
    static constexpr int columnWidth = 220;
    static constexpr int spacing = 10;
    static constexpr int rowSpacing = 4;
    static constexpr int swatchSpacing = 2;
    static constexpr int hexRowSpacing = 8;
    static constexpr int hexFieldHeight = 22;
    static constexpr double hexFieldRadius = 5.0;

    explicit ColorPickerPopover(Binding color, QWidget* parent = nullptr);

    // The preset rows, left to right, each colour as six hexadecimal digits.
    static const QList<QStringList>& palettes();
    // Reads a typed hexadecimal colour: surrounding white space is ignored and every "#" is
    // dropped; exactly six digits must remain, read as an unsigned number (which lets "+12345"
    // and "-00000" through, as such a reader does).
    static std::optional<Hsb> parseHex(const QString& text);
    // Hue (0 for greys), saturation and brightness of sRGB components in 0…1.
    static Hsb hsbFromRgb(double red, double green, double blue);
    // sRGB components of a hue, saturation and brightness; hues outside 0…1 wrap.
    static RgbColor rgbFromHsb(double hue, double sat, double bri);
    // "RRGGBB" of components in 0…1, each times 255 rounded half away from zero.
    static QString hexDigits(double red, double green, double blue);

    double hue() const { return m_hue; }
    double sat() const { return m_sat; }
    double bri() const { return m_bri; }
    QString hexText() const { return m_hexText; }
    bool suppressInbound() const { return m_suppressInbound; }
    bool suppressOutbound() const { return m_suppressOutbound; }

    // Changes the view state; unless outbound changes are suppressed, a change writes the colour
    // out once.
    void setHsb(double hue, double sat, double bri);
    // Changes the field's text only, as typing does.
    void setHexText(const QString& text);

    // Reads a colour into the view state without writing it back.
    void syncFrom(const RgbColor& color);
    // Writes the view state to the bound colour and the field.
    void pushOut();
    // Reads the field's text into the view state; invalid text is left as typed.
    void applyHex();

    SatBriPad* satBriPad() const { return m_pad; }
    HueStrip* hueStrip() const { return m_strip; }
    QLineEdit* hexField() const { return m_field; }
    const QList<ColorSwatch*>& swatches() const { return m_swatches; }

public slots:
    // The bound colour changed: read it in unless this picker is the one that changed it.
    void boundColorChanged(const RgbColor& color);

protected:
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void layOut();
    void updateColours();
    void showState();
    void swatchClicked(const QString& digits);

    Binding m_color;
    double m_hue = 0.0;
    double m_sat = 1.0;
    double m_bri = 1.0;
    QString m_hexText = QStringLiteral("FFFFFF");
    bool m_suppressInbound = false;
    bool m_suppressOutbound = false;

    SatBriPad* m_pad = nullptr;
    HueStrip* m_strip = nullptr;
    QList<ColorSwatch*> m_swatches;
    QLabel* m_hash = nullptr;
    QLineEdit* m_field = nullptr;
};
