// The card that frames each section of the main window: a titled header with a symbol and an
// optional accessory on the right, the section's content below.
#pragma once

#include <QString>
#include <QWidget>

class QLabel;
class QVBoxLayout;

class QHBoxLayout;

class SectionCard : public QWidget {
    Q_OBJECT
public:
    static constexpr int padding = 16;
    static constexpr int spacing = 12;
    static constexpr int headerSpacing = 8;
    static constexpr double cornerRadius = 12.0;
    static constexpr double strokeOpacity = 0.08;

    // `fill`: takes all the width offered; `stretch`: takes all the height offered. Otherwise the
    // card keeps its natural size. The card takes ownership of `accessory` and `content`, either
    // of which may be null.
    SectionCard(const QString& title, const QString& systemImage, bool fill, bool stretch,
                QWidget* accessory, QWidget* content, QWidget* parent = nullptr);

    QString title() const { return m_title; }
    QWidget* accessory() const { return m_accessory; }
    QWidget* content() const { return m_content; }
    // For cards that build their parts after the frame: each may be set once.
    void setAccessory(QWidget* accessory);
    void setContent(QWidget* content);

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void updateSymbol();

    QString m_title;
    QString m_systemImage;
    QWidget* m_accessory = nullptr;
    QWidget* m_content = nullptr;
    QLabel* m_symbolLabel = nullptr;
    QLabel* m_titleLabel = nullptr;
    QHBoxLayout* m_header = nullptr;
    QVBoxLayout* m_column = nullptr;
};
