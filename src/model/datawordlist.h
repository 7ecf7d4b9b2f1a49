#pragma once

#include <QJsonObject>
#include <QString>
#include <QtGlobal>
#include <optional>

// One phrase. A plain value; keycode and bgColor travel with server records but are not stored locally.
struct DataWordList {
    qint64 id = 0;
    QString parentSign;
    QString sign;
    QString label;
    QString jsonValue;
    QString texts;
    QString images;
    qint64 position = 0;
    QString username;
    std::optional<QString> keycode;
    std::optional<QString> bgColor;

    DataWordList() = default;
    DataWordList(qint64 id, QString parentSign, QString sign, QString label, QString jsonValue, QString texts,
                 QString images, qint64 position, QString username, std::optional<QString> keycode,
                 std::optional<QString> bgColor);

    // Fills every field from the member of the same name; a missing member keeps the default.
    static DataWordList fromJson(const QJsonObject &object);

    bool operator==(const DataWordList &) const = default;
};
