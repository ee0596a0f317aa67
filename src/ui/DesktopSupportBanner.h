// A banner in the main window saying which desktop choices cannot take effect on the running
// desktop, naming the desktop and what is missing, in place of a choice that silently changes
// nothing. It watches the model itself and hides while every choice works.
#pragma once

#include "core/AppModel.h"

#include <QWidget>

class QLabel;

class DesktopSupportBanner final : public QWidget {
    Q_OBJECT
public:
    explicit DesktopSupportBanner(AppModel& model, QWidget* parent = nullptr);

    // The banner's text for these choices on this desktop; empty when everything works.
    static QString text(const DesktopSupport::State& state, bool iconsHidden,
                        DesktopBackground background, MenuBarCover cover);
    QString text() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void refresh();
    void updateColours();

    AppModel& m_model;
    QLabel* m_symbol = nullptr;
    QLabel* m_label = nullptr;
};
