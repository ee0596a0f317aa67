// Label styles of the main window.
#include "UiStyle.h"

#include "components/Look.h"

#include <QLabel>

namespace UiStyle {

namespace {

void dim(QLabel* label)
{
    // Dimmed through the label's foreground role, so a palette change of the theme follows.
    label->setForegroundRole(QPalette::PlaceholderText);
}

} // namespace

void makeSecondaryCaption(QLabel* label)
{
    label->setFont(Look::caption());
    dim(label);
}

void makeGroupLabel(QLabel* label)
{
    QFont font = Look::subheadline();
    font.setWeight(QFont::DemiBold);
    label->setFont(font);
    dim(label);
}

} // namespace UiStyle
