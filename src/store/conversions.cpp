#include "store/conversions.h"

std::vector<quint8> Conversions::dataToUint8(const QByteArray &data) {
    return std::vector<quint8>(data.begin(), data.end());
}

QByteArray Conversions::uint8ToData(const std::vector<quint8> &bytes) {
    return QByteArray(reinterpret_cast<const char *>(bytes.data()), qsizetype(bytes.size()));
}

QString Conversions::dataToString(const QByteArray &data) {
    return QString::fromUtf8(data);
}

QByteArray Conversions::stringToData(const QString &s) {
    return s.toUtf8();
}

std::vector<quint8> Conversions::stringToUint8(const QString &s) {
    return dataToUint8(s.toUtf8());
}

QString Conversions::uint8ToString(const std::vector<quint8> &bytes) {
    return QString::fromUtf8(uint8ToData(bytes));
}

QString Conversions::uint8ArrToBase64(const std::vector<quint8> &bytes) {
    return QString::fromLatin1(uint8ToData(bytes).toBase64());
}
