// The settings window's content: the four preferences as labelled switches with explanations.
#pragma once

#include <QWidget>

class Preferences;
class QCheckBox;
class QLabel;

class PreferencesView final : public QWidget {
    Q_OBJECT
public:
    explicit PreferencesView(Preferences& prefs, QWidget* parent = nullptr);

    // The switch of a row, by its title (tests and accessibility tools find them this way).
    QCheckBox* toggle(const QString& title) const;
    // The line under the rows that says what closing the main window does.
    QString closingNote() const;

private:
    QCheckBox* row(const QString& title, const QString& detail, bool (Preferences::*get)() const,
                   void (Preferences::*set)(bool));
    void refresh();
    void fitHeight();

    Preferences& m_prefs;
    QLabel* m_closingNote = nullptr;
    QList<std::pair<QCheckBox*, bool (Preferences::*)() const>> m_rows;
};
