#pragma once

#include "model/datawordlist.h"
#include "store/db_base.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

class db_word_list : public db_base {
public:
    bool create(const QString &parenSign, const QString &sign, const QString &label, const QString &jsonValue,
                qint64 position, const QString &username);
    // `delete` is a keyword; delete_ is the nearest legal name.
    bool delete_(const QString &sign);
    bool deleteAll(const QString &username);
    bool setValue(const QString &newParentSign, const QString &sign, const QString &newLabel,
                  const QString &newJsonValue);
    bool setPosition(const QString &sign, qint64 newPosition);
    QList<DataWordList> getAll(const QString &parenSign, const QString &username);
    QString getAllCount(const QString &username);
    QString getCount(const QString &username, const QString &parentSign);
    QStringList getImagenameAll(const QString &username);
    std::optional<DataWordList> getData(const QString &sign);
    QList<DataWordList> getLikeAll(const QString &keyText, const QString &username);
    qint64 getMaxPosition(const QString &parentSign);

    // Deletes every phrase of the user and inserts these under that user (texts and images derived
    // from jsonValue), in one transaction: all or nothing. Ids are assigned anew.
    bool replaceAll(const QString &username, const QList<DataWordList> &rows);

private:
    static DataWordList fromRow(const SQLite::Statement &row);
    // Columns 1-7 of the insert statement.
    static void bindRow(SQLite::Statement &insert, const QString &parentSign, const QString &sign,
                        const QString &label, const QString &jsonValue, qint64 position);
    static QList<DataWordList> query(const char *sql, const std::function<void(SQLite::Statement &)> &bind);
    static QString countOf(const char *sql, const std::function<void(SQLite::Statement &)> &bind);
};
