// The content of the custom-size popover: a title, the Width and Height fields and a note.
// Return in either field confirms; the texts stay for the next opening.
#pragma once

#include "ContentRules.h"

#include <QWidget>

class QLineEdit;

class CustomSizeForm final : public QWidget {
    Q_OBJECT
public:
    explicit CustomSizeForm(QWidget* parent = nullptr);

    QLineEdit* field(CustomField which) const;
    QString customW() const;
    QString customH() const;
    // The field with keyboard focus, if any.
    std::optional<CustomField> customFieldFocus() const;
    // Moves the focus to the width field on the next turn of the event loop, after the popup
    // has taken the keyboard.
    void focusWidthSoon();

signals:
    void confirmed();

private:
    QLineEdit* m_width = nullptr;
    QLineEdit* m_height = nullptr;
};
