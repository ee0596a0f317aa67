// The settings window's content: the four preferences as labelled switches with explanations.
#pragma once

#include <QWidget>

class Preferences;
class QCheckBox;

class PreferencesView final : public QWidget {
    Q_OBJECT
public:
    explicit PreferencesView(Preferences& prefs, QWidget* parent = nullptr);

    // The switch of a row, by its title (tests and accessibility tools find them this way).
    QCheckBox* toggle(const QString& title) const;

private:
    QCheckBox* row(const QString& title, const QString& detail, bool (Preferences::*get)() const,
                   void (Preferences::*set)(bool));
    void refresh();

    Preferences& m_prefs;
    QList<std::pair<QCheckBox*, bool (Preferences::*)() const>> m_rows;
};
