#pragma once

#include <QString>
#include <functional>

// Outcome of a picture download: the picture as Base64 text, or a failure (always with an empty text).
class ApiResulrDowImage {
public:
    static ApiResulrDowImage success(QString imageBase64data) {
        return ApiResulrDowImage(true, std::move(imageBase64data));
    }
    static ApiResulrDowImage error(QString errMsg) { return ApiResulrDowImage(false, std::move(errMsg)); }

    bool isSuccess() const { return ok_; }
    const QString &imageBase64data() const { return text_; }
    const QString &errMsg() const { return text_; }

private:
    ApiResulrDowImage(bool ok, QString text) : ok_(ok), text_(std::move(text)) {}
    bool ok_;
    QString text_;
};

using ApiResulrDowImageHandler = std::function<void(const ApiResulrDowImage &)>;
