// Font roles and dimmed colours shared by the main window's cards, derived from the desktop's
// own font and palette so they follow the theme.
#pragma once

#include <QColor>
#include <QFont>

class QLabel;
class QPalette;

namespace UiStyle {

// A small note under a control.
QFont captionFont(const QFont& base);
// A group label such as "Windows" or "Icons": a little smaller than the body, semibold.
QFont subheadlineSemibold(const QFont& base);
// A popover title.
QFont headlineFont(const QFont& base);
// Text that is present but not the focus of attention.
QColor secondaryColor(const QPalette& palette);
// Caption font in the secondary colour.
void makeSecondaryCaption(QLabel* label);
// Group-label font in the secondary colour.
void makeGroupLabel(QLabel* label);

} // namespace UiStyle
