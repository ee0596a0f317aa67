// Small pieces every card of the main window uses: naming a control once, group labels, and
// reacting to a choice however it is made.
#pragma once

#include "UiStyle.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QLabel>

namespace CardParts {

// Names a control once: the object name (for tests and style sheets) is the English text, the
// accessible name (read out by assistive tools) its translation, all in one context so that a
// name is translated once wherever it is used.
template <typename Widget> Widget* named(Widget* widget, const char* english)
{
    widget->setObjectName(QString::fromLatin1(english));
    widget->setAccessibleName(QCoreApplication::translate("Quillet", english));
    return widget;
}

inline QLabel* groupLabel(const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    UiStyle::makeGroupLabel(label);
    return label;
}

// Runs `action` when the button is clicked, and also when an assistive tool toggles it: the
// "Toggle" action of a checkable button flips its state without a click. The cards set the
// checked state of their choices with their signals blocked, so only such toggles arrive here.
template <typename Action> void onChoose(QAbstractButton* button, QObject* context, Action action)
{
    QObject::connect(button, &QAbstractButton::clicked, context, action);
    QObject::connect(button, &QAbstractButton::toggled, context, action);
}

} // namespace CardParts
