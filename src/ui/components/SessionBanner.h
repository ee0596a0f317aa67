// A banner at the top of the main window for a session where Quillet cannot act on the desktop
// at all (Wayland, or no X11 display): it names the session and the features that need X11.
#pragma once

#include "platform/PermissionGap.h"

#include <QString>
#include <QWidget>

class QLabel;

class SessionBanner final : public QWidget {
    Q_OBJECT
public:
    // Hidden unless `gap` is a whole session without X11 (Wayland or no display).
    explicit SessionBanner(PermissionGap gap, QWidget* parent = nullptr);

    // The headline and the explanation for such a session; empty for every other gap.
    static QString title(PermissionGap gap);
    static QString explanation(PermissionGap gap);
    // Shown in the Resolution card in place of tiles that cannot exist in such a session.
    static QString noModesText(PermissionGap gap);

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void updateColours();

    QLabel* m_symbol = nullptr;
    QLabel* m_title = nullptr;
    QLabel* m_explanation = nullptr;
};
