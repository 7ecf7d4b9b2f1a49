#pragma once

#include <QSignalBlocker>
#include <QString>
#include <optional>

// Changes that touch several rows of one store (ClassStore or PhraseStore) and are announced once:
// views following changed() reload after the last row, not after each.
namespace StoreChanges {

template <typename Store, typename Changes> void asOne(Store &store, Changes &&changes) {
    {
        const QSignalBlocker quiet(&store);
        changes();
    }
    Q_EMIT store.changed();
}

// Each row takes the other's position; false when either row is gone.
template <typename Store> bool swapPositions(Store &store, const QString &sign1, const QString &sign2) {
    const auto a = store.getData(sign1);
    const auto b = store.getData(sign2);
    if (!a || !b)
        return false;
    asOne(store, [&] {
        store.setPosition(sign1, b->position);
        store.setPosition(sign2, a->position);
    });
    return true;
}

// Signs joined by "|", as the list views hand over a selection.
template <typename Store> void removeSigns(Store &store, const QString &signs) {
    asOne(store, [&] {
        for (const QString &sign : signs.split(QLatin1Char('|'), Qt::SkipEmptyParts))
            store.remove(sign);
    });
}

} // namespace StoreChanges
