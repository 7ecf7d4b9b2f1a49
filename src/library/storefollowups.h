#pragma once

#include "model/contentformat.h"

#include <QString>
#include <optional>

// Local follow-ups shared by the class and phrase controllers once the service accepted a change.
class StoreFollowUps {
public:
    StoreFollowUps() = delete;

    // Exchanges the positions of two rows; nothing changes unless both exist.
    template <typename Db> static void swapPositions(Db &db, const QString &sign1, const QString &sign2) {
        const auto a = db.getData(sign1);
        const auto b = db.getData(sign2);
        if (a && b) {
            db.setPosition(sign1, b->position);
            db.setPosition(sign2, a->position);
        }
    }

    // signOrAll is one sign or "a|b|".
    template <typename Db> static void deleteSigns(Db &db, const QString &signOrAll) {
        if (signOrAll.contains(QLatin1Char('|'))) {
            for (const QString &sign : split(signOrAll, QStringLiteral("|")))
                db.remove(sign);
        } else {
            db.remove(signOrAll);
        }
    }
};
