#pragma once

#include "model/datawordclass.h"

#include <QList>
#include <QString>
#include <functional>

// Outcome of fetching every class of a library.
class apiResultWordClasGetAll {
public:
    static apiResultWordClasGetAll onSuccess(QList<DataWordClass> data) {
        return apiResultWordClasGetAll(true, std::move(data), {});
    }
    static apiResultWordClasGetAll onError(QString msg) {
        return apiResultWordClasGetAll(false, {}, std::move(msg));
    }

    bool isSuccess() const { return ok_; }
    const QList<DataWordClass> &data() const { return data_; }
    const QString &msg() const { return msg_; }

private:
    apiResultWordClasGetAll(bool ok, QList<DataWordClass> data, QString msg)
        : ok_(ok), data_(std::move(data)), msg_(std::move(msg)) {}
    bool ok_;
    QList<DataWordClass> data_;
    QString msg_;
};

using apiResultWordClasGetAllHandler = std::function<void(const apiResultWordClasGetAll &)>;
