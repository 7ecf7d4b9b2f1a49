#pragma once

#include <QString>
#include <functional>

// Outcome of a picture download: the picture as Base64 text, or a failure (always with an empty text).
class PictureDownloadResult {
public:
    static PictureDownloadResult success(QString imageBase64data) {
        return PictureDownloadResult(true, std::move(imageBase64data));
    }
    static PictureDownloadResult error(QString errMsg) {
        return PictureDownloadResult(false, std::move(errMsg));
    }

    bool isSuccess() const { return ok_; }
    const QString &imageBase64data() const { return text_; }
    const QString &errMsg() const { return text_; }

private:
    PictureDownloadResult(bool ok, QString text) : ok_(ok), text_(std::move(text)) {}
    bool ok_;
    QString text_;
};

using PictureDownloadHandler = std::function<void(const PictureDownloadResult &)>;
