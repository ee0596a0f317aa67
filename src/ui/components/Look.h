// Colours, fonts and symbols of the interface by role, taken from the widget's palette and the
// application font so the components follow the desktop's theme.
#pragma once

#include <QColor>
#include <QFont>
#include <QPixmap>
#include <QRectF>
#include <functional>

class QPainter;
class QPalette;
class QWidget;

namespace Look {

// Colour roles. Each takes the palette of the widget being drawn, so disabled widgets get the
// theme's disabled colours.
QColor accent(const QPalette& palette);
QColor primary(const QPalette& palette);
// Dimmed text: the placeholder-text role, which themes derive from the window text.
QColor secondary(const QPalette& palette);
QColor windowBackground(const QPalette& palette);
QColor textBackground(const QPalette& palette);
QColor controlBackground(const QPalette& palette);
// The warning orange of the permission banners.
QColor orange();
// `color` with its opacity multiplied by `opacity`.
QColor withOpacity(QColor color, double opacity);

// Fonts by role, scaled from the application font (the desktop's body text, typically 10 pt).
QFont headline();
QFont subheadline();
QFont callout();
QFont caption();
QFont caption2();
// The application font at a size given on a 13-point body scale, so "10 points" next to a
// 13-point body keeps its proportion to the desktop's own body size.
QFont systemFont(double points);
// The monospaced design of a font: same size, fixed pitch.
QFont monospaced(QFont font);

// A symbol by its conventional name ("photo", "lock.shield", "macwindow", …) drawn `pixelSize`
// square in `tint`: the freedesktop icon theme's matching symbolic icon when there is one,
// otherwise a simple shape drawn by us. The theme icon is used as a silhouette so the tint applies.
QPixmap symbol(const QString& name, int pixelSize, const QColor& tint, qreal devicePixelRatio);
// The banners' look: a faint orange rounded fill behind their text, and their lock symbol one
// line of callout text high.
void paintBannerFill(QWidget* banner);
QPixmap bannerSymbol(const QWidget* banner);
// The first look into the icon theme reads its index files and loads the icon plugins, which
// takes longer than building the whole window: while the main window opens, theme symbols are
// held back and symbol() draws our own shapes; once it has been painted they are released and
// every widget showing a symbol draws it again (whenThemeSymbolsArrive).
void holdThemeSymbols();
void releaseThemeSymbols();
bool themeSymbolsHeld();
// Runs `redraw` once the theme symbols are released, unless `context` is gone by then. Nothing
// happens while they are not held: the symbols drawn now are already the theme's.
void whenThemeSymbolsArrive(const QObject* context, std::function<void()> redraw);
// The freedesktop icon name standing in for a symbol name (empty when there is none).
QString themeIconName(const QString& name);

// The rectangle a stroke of `width` is drawn on so that it lies inside `shape`.
QRectF innerStrokeRect(const QRectF& shape, double width);
// Strokes the inside edge of a rounded rectangle: the whole pen width lies within `shape`.
void strokeInside(QPainter& painter, const QRectF& shape, double radius, double width,
                  const QColor& color, Qt::PenStyle style = Qt::SolidLine);
// The palette of a dark desktop appearance, for a program whose theme gives only a light one:
// dark window and content fills, light text, the accent and link colours of `light` kept.
QPalette darkPalette(const QPalette& light);
// True when the palette has a dark window background.
bool isDark(const QPalette& palette);

// The keyboard-focus ring of a clickable picture, drawn inside `shape` so no parent clips it: a
// ring in the accent colour with a thin light line inside it, so it shows on a selected
// (accent-framed) picture as well as on dark and light pictures.
void focusRing(QPainter& painter, const QRectF& shape, double radius, const QPalette& palette);

} // namespace Look
