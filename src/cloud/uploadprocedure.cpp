#include "cloud/uploadprocedure.h"

#include "cloud/pictureapi.h"
#include "model/contentformat.h"

#include <QCoreApplication>
#include <QPointer>
#include <iostream>
#include <optional>

UploadProcedure::UploadProcedure(const QString &jsonValue, QObject *parent) : QObject(parent) {
    if (const std::optional<ContentPieces> items = parseContent(jsonValue))
        filenameArr_ = distinctPictureNames(*items).value_or(QStringList());
}

void UploadProcedure::start() {
    if (started_)
        return;
    started_ = true;
    uploadNext();
}

void UploadProcedure::uploadNext() {
    if (next_ >= filenameArr_.size()) {
        const OperationResult result =
            firstFailure_ ? OperationResult::error(*firstFailure_) : OperationResult::success();
        // Always after start() has returned, as when the last reply came in.
        QPointer<UploadProcedure> self(this);
        QMetaObject::invokeMethod(
            this,
            [self, result]() {
                if (self)
                    Q_EMIT self->finished(result);
            },
            Qt::QueuedConnection);
        return;
    }
    const QString name = filenameArr_.at(next_++);
    std::cout << "---uploadImage > 正在上传图片。filename = " << name.toStdString() << std::endl;
    Q_EMIT labelChanged(QStringLiteral("正在上传图片 ") + name);
    // Each reply starts the next step; the procedure may be gone by then (its dialog closed).
    QPointer<UploadProcedure> self(this);
    PictureApi::exist(name, [self, name](bool known) {
        if (!self)
            return;
        if (known) {
            std::cout << "---uploadImage > 图片存在 不用上传" << std::endl;
            self->uploadNext();
            return;
        }
        PictureApi::upload(
            name,
            [self](const OperationResult &r) {
                if (r.isSuccess()) {
                    std::cout << "---uploadImage > 图片上传成功" << std::endl;
                } else {
                    std::cout << "---uploadImage > 图片上传失败 " << r.msg().toStdString() << std::endl;
                    if (self && !self->firstFailure_)
                        self->firstFailure_ = r.msg();
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
