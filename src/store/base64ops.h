#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

// Standard Base64 without line breaks; decoding is strict (whitespace or a foreign character fails).
std::optional<QString> encodeBase64(const QString &s);
std::optional<QString> decodeBase64(const QString &s);
std::optional<QByteArray> decodeBase64Data(const QString &s);
