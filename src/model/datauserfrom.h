#pragma once

#include <QString>

// The signed-in user. "123" is the owner of a library kept before any sign-in; never make it empty.
class DataUserFrom {
public:
    QString username = QStringLiteral("123");
};
