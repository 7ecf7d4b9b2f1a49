#pragma once

#include "model/datawordclass.h"
#include "store/db_base.h"

#include <QList>
#include <QString>
#include <optional>

class db_word_class : public db_base {
public:
    bool create(const QString &sign, const QString &label, qint64 position, const QString &username);
    // `delete` is a keyword; delete_ is the nearest legal name.
    bool delete_(const QString &sign);
    bool deleteAll();
    bool deleteAll(const QString &username);
    bool setLabel(const QString &sign, const QString &newLabel);
    bool setPosition(const QString &sign, qint64 newPosition);
    QList<DataWordClass> getAll(const QString &username);
    qint64 getMaxPosition(const QString &username);
    std::optional<DataWordClass> getData(const QString &sign);
    QList<DataWordClass> getLikeAll(const QString &keyText, const QString &username);

    // Deletes every class of the user and inserts these under that user, in one transaction: all or
    // nothing. Ids are assigned anew.
    bool replaceAll(const QString &username, const QList<DataWordClass> &rows);

private:
    static DataWordClass fromRow(const SQLite::Statement &row);
    static QList<DataWordClass> query(const char *sql, const std::function<void(SQLite::Statement &)> &bind);
};
