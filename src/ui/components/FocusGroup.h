// One Tab stop for a group of like controls (resolution tiles, window cells, thumbnails,
// swatches, window rows): Tab enters the group at one member, the arrow keys move inside it,
// as in a group of radio buttons.
#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QWidget>

class FocusGroup final : public QObject {
    Q_OBJECT
public:
    explicit FocusGroup(QObject* parent = nullptr);

    // The members in reading order, laid out in rows of `columns` (0: a single row, where the
    // up and down keys move like left and right). Replaces the previous members.
    void setMembers(const QList<QWidget*>& members, int columns = 0);
    const QList<QPointer<QWidget>>& members() const { return m_members; }
    // The member that Tab enters at (the chosen one of a set of choices); the first member
    // when `entry` is not one of them. A member that has the focus keeps it.
    void setEntry(QWidget* entry);
    QWidget* entry() const { return m_entry; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void makeEntry(QWidget* entry);
    // The enabled member `steps` away from `from` in reading order, or null.
    QWidget* neighbour(int from, int steps) const;

    QList<QPointer<QWidget>> m_members;
    QPointer<QWidget> m_entry;
    int m_columns = 0;
};
