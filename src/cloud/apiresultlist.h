#pragma once

#include <QList>
#include <QString>
#include <functional>

// Outcome of fetching every row of one kind from a library: the rows, or the text to show.
template <typename Row> class ApiResultList {
public:
    static ApiResultList onSuccess(QList<Row> data) { return ApiResultList(true, std::move(data), {}); }
    static ApiResultList onError(QString msg) { return ApiResultList(false, {}, std::move(msg)); }

    bool isSuccess() const { return ok_; }
    const QList<Row> &data() const { return data_; }
    const QString &msg() const { return msg_; }

private:
    ApiResultList(bool ok, QList<Row> data, QString msg)
        : ok_(ok), data_(std::move(data)), msg_(std::move(msg)) {}
    bool ok_;
    QList<Row> data_;
    QString msg_;
};
