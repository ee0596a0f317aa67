// The order in which xfce4-panel's notification area lays out its StatusNotifierItems, used to
// tell which item each of its buttons shows.
#pragma once

#include <QList>
#include <QStringList>

namespace StatusItemOrder {
// `ids` are the items' Ids in the order they registered (an empty Id: the item did not answer);
// `known` and `hidden` are the notification area's known-items and hidden-items lists.
// Returns, for each of `buttonCount` buttons from left to right, the index into `ids` of the
// item it shows; empty when that cannot be told for certain.
QList<qsizetype> match(qsizetype buttonCount, const QStringList& ids, const QStringList& known,
                       const QStringList& hidden);
} // namespace StatusItemOrder
