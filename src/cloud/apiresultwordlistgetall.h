#pragma once

#include "model/datawordlist.h"

#include <QList>
#include <QString>
#include <functional>

// Outcome of fetching every phrase of a library.
class apiResultWordListGetAll {
public:
    static apiResultWordListGetAll onSuccess(QList<DataWordList> data) {
        return apiResultWordListGetAll(true, std::move(data), {});
    }
    static apiResultWordListGetAll onError(QString msg) {
        return apiResultWordListGetAll(false, {}, std::move(msg));
    }

    bool isSuccess() const { return ok_; }
    const QList<DataWordList> &data() const { return data_; }
    const QString &msg() const { return msg_; }

private:
    apiResultWordListGetAll(bool ok, QList<DataWordList> data, QString msg)
        : ok_(ok), data_(std::move(data)), msg_(std::move(msg)) {}
    bool ok_;
    QList<DataWordList> data_;
    QString msg_;
};

using apiResultWordListGetAllHandler = std::function<void(const apiResultWordListGetAll &)>;
