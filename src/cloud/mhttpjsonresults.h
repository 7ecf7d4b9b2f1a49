#pragma once

#include <QString>

// Outcome of a text request: the body as text, or the failure text.
class mHttpJsonResultS {
public:
    static mHttpJsonResultS success(QString body) { return mHttpJsonResultS(true, std::move(body)); }
    static mHttpJsonResultS error(QString text) { return mHttpJsonResultS(false, std::move(text)); }

    bool isSuccess() const { return ok_; }
    // The body on success, the failure text otherwise.
    const QString &text() const { return text_; }

private:
    mHttpJsonResultS(bool ok, QString text) : ok_(ok), text_(std::move(text)) {}
    bool ok_;
    QString text_;
};
