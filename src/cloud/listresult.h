#pragma once

#include <QList>
#include <QString>
#include <functional>

// Outcome of fetching every row of one kind from a library: the rows, or the text to show.
template <typename Row> class ListResult {
public:
    static ListResult onSuccess(QList<Row> data) { return ListResult(true, std::move(data), {}); }
    static ListResult onError(QString msg) { return ListResult(false, {}, std::move(msg)); }

    bool isSuccess() const { return ok_; }
    const QList<Row> &data() const { return data_; }
    const QString &msg() const { return msg_; }

private:
    ListResult(bool ok, QList<Row> data, QString msg)
        : ok_(ok), data_(std::move(data)), msg_(std::move(msg)) {}
    bool ok_;
    QList<Row> data_;
    QString msg_;
};
