// Label styles shared by the main window's cards, built on the interface's colour and font roles.
#pragma once

class QLabel;

namespace UiStyle {

// A small note: caption font in the secondary colour.
void makeSecondaryCaption(QLabel* label);
// A group label such as "Windows" or "Icons": subheadline, semibold, secondary colour.
void makeGroupLabel(QLabel* label);

} // namespace UiStyle
