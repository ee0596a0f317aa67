// Buttons follow the known-items list (newest name first); items sharing an Id are shown newest
// first; hidden items are left out unless the overflow arrow is expanded, which shows all.
#include "StatusItemOrder.h"

#include <QHash>
#include <QSet>
#include <algorithm>
#include <numeric>

namespace StatusItemOrder {

QList<qsizetype> match(qsizetype buttonCount, const QStringList& ids, const QStringList& known,
                       const QStringList& hidden)
{
    // An item that did not tell its Id has no known place, which makes every place a guess.
    if (std::any_of(ids.begin(), ids.end(), [](const QString& id) { return id.isEmpty(); }))
        return {};
    QList<qsizetype> all(ids.size());
    std::iota(all.begin(), all.end(), 0);
    // Ids missing from the list (for example while the panel saves it) sort last. The places
    // are looked up once, so a tray of n items costs n log n, not n² log n.
    QHash<QString, qsizetype> place;
    for (qsizetype r = known.size() - 1; r >= 0; --r)
        place.insert(known[r], r);
    QList<qsizetype> ranks(ids.size());
    for (qsizetype i = 0; i < ids.size(); ++i)
        ranks[i] = place.value(ids[i], known.size());
    const auto rank = [&](qsizetype i) { return ranks[i]; };
    std::stable_sort(all.begin(), all.end(), [&](qsizetype a, qsizetype b) {
        if (rank(a) != rank(b))
            return rank(a) < rank(b);
        return a > b;
    });
    const QSet<QString> hiddenIds(hidden.begin(), hidden.end());
    QList<qsizetype> shown;
    for (qsizetype i : std::as_const(all)) {
        if (!hiddenIds.contains(ids[i]))
            shown.append(i);
    }
    const QList<qsizetype>* result = buttonCount == shown.size() ? &shown
                                     : buttonCount == all.size() ? &all
                                                                 : nullptr;
    // Without the panel's order only a single item is certain.
    if (!result || (known.isEmpty() && result->size() > 1))
        return {};
    return *result;
}

} // namespace StatusItemOrder
