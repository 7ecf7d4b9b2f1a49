#pragma once

#include <QString>

// Outcome of a text request: the body as text, or the failure text.
class TextReply {
public:
    static TextReply success(QString body) { return TextReply(true, std::move(body)); }
    static TextReply error(QString text) { return TextReply(false, std::move(text)); }

    bool isSuccess() const { return ok_; }
    // The body on success, the failure text otherwise.
    const QString &text() const { return text_; }

private:
    TextReply(bool ok, QString text) : ok_(ok), text_(std::move(text)) {}
    bool ok_;
    QString text_;
};
