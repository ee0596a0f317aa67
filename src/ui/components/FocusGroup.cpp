// Roving Tab stop: only the entry member takes Tab focus; the others take focus by click or
// arrow key, so a group of 55 swatches is one step of the Tab chain.
#include "FocusGroup.h"

#include <QKeyEvent>

FocusGroup::FocusGroup(QObject* parent) : QObject(parent) {}

void FocusGroup::setMembers(const QList<QWidget*>& members, int columns)
{
    for (const QPointer<QWidget>& member : std::as_const(m_members)) {
        if (member)
            member->removeEventFilter(this);
    }
    m_members.clear();
    m_columns = columns;
    for (QWidget* member : members) {
        m_members.append(member);
        member->installEventFilter(this);
    }
    QWidget* keep = m_entry && members.contains(m_entry.data()) ? m_entry.data() : nullptr;
    m_entry = nullptr;
    makeEntry(keep ? keep : (members.isEmpty() ? nullptr : members.first()));
}

void FocusGroup::setEntry(QWidget* entry)
{
    for (const QPointer<QWidget>& member : std::as_const(m_members)) {
        if (member && member->hasFocus())
            return;
    }
    const bool known = std::any_of(m_members.cbegin(), m_members.cend(),
                                   [entry](const QPointer<QWidget>& m) { return m == entry; });
    makeEntry(known ? entry : (m_members.isEmpty() ? nullptr : m_members.first().data()));
}

void FocusGroup::makeEntry(QWidget* entry)
{
    m_entry = entry;
    for (const QPointer<QWidget>& member : std::as_const(m_members)) {
        if (member)
            member->setFocusPolicy(member == entry ? Qt::StrongFocus : Qt::ClickFocus);
    }
}

QWidget* FocusGroup::neighbour(int from, int steps) const
{
    for (int index = from + steps; index >= 0 && index < m_members.size(); index += steps) {
        QWidget* member = m_members.at(index);
        if (member && member->isEnabled() && member->isVisibleTo(member->parentWidget()))
            return member;
        // Within a column, a missing cell (a shorter last row) ends the move.
        if (std::abs(steps) > 1)
            break;
    }
    return nullptr;
}

bool FocusGroup::eventFilter(QObject* watched, QEvent* event)
{
    auto* widget = qobject_cast<QWidget*>(watched);
    const qsizetype index = m_members.indexOf(widget);
    if (index < 0)
        return QObject::eventFilter(watched, event);
    if (event->type() == QEvent::FocusIn) {
        // The last member used is where Tab comes back to.
        if (m_entry != widget)
            makeEntry(widget);
    } else if (event->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(event);
        if (key->modifiers() & ~(Qt::KeypadModifier))
            return QObject::eventFilter(watched, event);
        const int rowStep = m_columns > 0 ? m_columns : 1;
        const bool rightToLeft = widget->layoutDirection() == Qt::RightToLeft;
        int steps = 0;
        switch (key->key()) {
        case Qt::Key_Left:
            steps = rightToLeft ? 1 : -1;
            break;
        case Qt::Key_Right:
            steps = rightToLeft ? -1 : 1;
            break;
        case Qt::Key_Up:
            steps = -rowStep;
            break;
        case Qt::Key_Down:
            steps = rowStep;
            break;
        case Qt::Key_Home:
            steps = -int(index);
            break;
        case Qt::Key_End:
            steps = int(m_members.size() - 1 - index);
            break;
        default:
            return QObject::eventFilter(watched, event);
        }
        QWidget* target = nullptr;
        if (key->key() == Qt::Key_Home || key->key() == Qt::Key_End) {
            // The first or last enabled member, searching back towards this one.
            const int end = int(index) + steps;
            const int back = steps < 0 ? 1 : -1;
            for (int i = end; i != int(index) && !target; i += back) {
                QWidget* member = m_members.at(i);
                if (member && member->isEnabled())
                    target = member;
            }
        } else {
            target = neighbour(int(index), steps);
        }
        if (target)
            target->setFocus(Qt::TabFocusReason);
        // The key is used up either way: it never leaks to a scrolling parent.
        return true;
    }
    return QObject::eventFilter(watched, event);
}
