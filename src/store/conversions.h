#pragma once

#include <QByteArray>
#include <QString>
#include <vector>

// Conversions between texts, byte objects and byte arrays (UTF-8, standard Base64).
class Conversions {
public:
    Conversions() = delete;

    static std::vector<quint8> dataToUint8(const QByteArray &data);
    static QByteArray uint8ToData(const std::vector<quint8> &bytes);
    static QString dataToString(const QByteArray &data);
    static QByteArray stringToData(const QString &s);
    static std::vector<quint8> stringToUint8(const QString &s);
    static QString uint8ToString(const std::vector<quint8> &bytes);
    static QString uint8ArrToBase64(const std::vector<quint8> &bytes);
};
