#pragma once

#include <QString>

// The signed-in user. "123" is the owner of a library kept before any sign-in; never make it empty.
class SignedInUser {
public:
    QString username = QStringLiteral("123");
};
