// Buttons follow the known-items list (newest name first); items sharing an Id are shown newest
// first; hidden items are left out unless the overflow arrow is expanded, which shows all.
#include "StatusItemOrder.h"

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
    // Ids missing from the list (for example while the panel saves it) sort last.
    auto rank = [&](qsizetype i) {
        const qsizetype r = known.indexOf(ids[i]);
        return r < 0 ? known.size() : r;
    };
    std::stable_sort(all.begin(), all.end(), [&](qsizetype a, qsizetype b) {
        if (rank(a) != rank(b))
            return rank(a) < rank(b);
        return a > b;
    });
    QList<qsizetype> shown;
    for (qsizetype i : std::as_const(all)) {
        if (!hidden.contains(ids[i]))
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
