// Custom window size entry.
#include "CustomSizeForm.h"

#include "UiStyle.h"
#include "components/Look.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QTimer>
#include <QVBoxLayout>

CustomSizeForm::CustomSizeForm(QWidget* parent) : QWidget(parent)
{
    auto* stack = new QVBoxLayout(this);
    stack->setContentsMargins(16, 16, 16, 16);
    stack->setSpacing(8);
    setFixedWidth(220);

    auto* title = new QLabel(tr("Custom size"), this);
    title->setFont(Look::headline());
    stack->addWidget(title);

    auto* fields = new QHBoxLayout;
    fields->setSpacing(12);
    const auto addField = [this, fields](const QString& label, QLineEdit*& edit) {
        auto* column = new QVBoxLayout;
        column->setSpacing(3);
        auto* caption = new QLabel(label, this);
        UiStyle::makeSecondaryCaption(caption);
        edit = new QLineEdit(this);
        edit->setObjectName(label);
        edit->setAccessibleName(label);
        edit->setFixedWidth(80);
        caption->setBuddy(edit);
        column->addWidget(caption);
        column->addWidget(edit);
        fields->addLayout(column);
        connect(edit, &QLineEdit::returnPressed, this, &CustomSizeForm::confirmed);
    };
    addField(tr("Width"), m_width);
    addField(tr("Height"), m_height);
    fields->addStretch(1);
    stack->addLayout(fields);

    auto* note = new QLabel(tr("Resizes the selected window and centers it."), this);
    note->setWordWrap(true);
    UiStyle::makeSecondaryCaption(note);
    stack->addWidget(note);
}

QLineEdit* CustomSizeForm::field(CustomField which) const
{
    return which == CustomField::width ? m_width : m_height;
}

QString CustomSizeForm::customW() const
{
    return m_width->text();
}

QString CustomSizeForm::customH() const
{
    return m_height->text();
}

std::optional<CustomField> CustomSizeForm::customFieldFocus() const
{
    // The field that has the keyboard whenever the popover is the active window.
    const QWidget* focused = window()->focusWidget();
    if (focused == m_width)
        return CustomField::width;
    if (focused == m_height)
        return CustomField::height;
    return std::nullopt;
}

void CustomSizeForm::focusWidthSoon()
{
    QTimer::singleShot(0, m_width, [edit = QPointer<QLineEdit>(m_width)] {
        if (edit)
            edit->setFocus(Qt::PopupFocusReason);
    });
}
