#pragma once

#include "model/phrase.h"

#include <QList>
#include <QString>

// A library as agents keep one: labels and ~120-character texts of mixed Chinese and ASCII, a third
// of the phrases with one or two pictures, forty classes. The same seed gives the same library.
class RealisticLibrary {
public:
    RealisticLibrary() = delete;

    static QList<Phrase> phrases(int count, const QString &user);
};
