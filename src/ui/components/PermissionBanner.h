// A banner saying that a desktop capability is missing, with a button asking for it.
#pragma once

#include <QString>
#include <QWidget>

class QLabel;
class QPushButton;

class PermissionBanner final : public QWidget {
    Q_OBJECT
public:
    static constexpr int padding = 10;
    static constexpr int spacing = 8;

    explicit PermissionBanner(const QString& text, QWidget* parent = nullptr);

    QString text() const { return m_text; }
    QPushButton* grantButton() const { return m_grant; }
    // What is missing and what to do, shown under the text once asking did not help; empty
    // hides it.
    void setAdvice(const QString& advice);
    QString advice() const;

    // The label of the button: "Grant…" with a real ellipsis.
    static QString grantTitle();

signals:
    // The user pressed "Grant…".
    void grantRequested();

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void updateColours();

    QString m_text;
    QLabel* m_symbol = nullptr;
    QLabel* m_label = nullptr;
    QLabel* m_advice = nullptr;
    QPushButton* m_grant = nullptr;
};
