#include "cloud/uploadprocedure.h"

#include "cloud/cloudclient.h"
#include "model/logging.h"

#include <QPointer>
#include <QTimer>
#include <optional>

UploadProcedure::UploadProcedure(CloudClient &client, QStringList pictureNames, QObject *parent)
    : QObject(parent), client_(client), filenameArr_(std::move(pictureNames)) {}

void UploadProcedure::start() {
    if (started_)
        return;
    started_ = true;
    uploadNext();
}

void UploadProcedure::uploadNext() {
    if (next_ >= filenameArr_.size()) {
        const Result<void> result =
            firstFailure_ ? Result<void>::failure(*firstFailure_) : Result<void>::success();
        // Always after start() has returned, as when the last reply came in.
        QTimer::singleShot(0, this, [this, result]() { Q_EMIT finished(result); });
        return;
    }
    const QString name = filenameArr_.at(next_++);
    qCInfo(lcCloud, "uploading picture %s", qUtf8Printable(name));
    Q_EMIT labelChanged(QStringLiteral("正在上传图片 ") + name);
    // Each reply starts the next step; the procedure may be gone by then (its dialog closed).
    QPointer<UploadProcedure> self(this);
    client_.pictureExists(name, [self, name](bool known) {
        if (!self)
            return;
        if (known) {
            qCInfo(lcCloud, "picture %s is already there", qUtf8Printable(name));
            self->uploadNext();
            return;
        }
        self->client_.uploadPicture(
            name,
            [self, name](const Result<void> &r) {
                if (r) {
                    qCInfo(lcCloud, "picture %s uploaded", qUtf8Printable(name));
                } else {
                    qCWarning(lcCloud, "picture %s not uploaded: %s", qUtf8Printable(name),
                              qUtf8Printable(r.error()));
                    if (self && !self->firstFailure_)
                        self->firstFailure_ = r.error();
                }
                if (self)
                    self->uploadNext();
            },
            [self](int percent) {
                if (self)
                    Q_EMIT self->progressChanged(percent);
            });
    });
}
