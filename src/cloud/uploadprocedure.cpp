#include "cloud/uploadprocedure.h"

#include "cloud/httptransport.h"
#include "cloud/pictureapi.h"
#include "model/contentformat.h"

#include <QCoreApplication>
#include <QPointer>
#include <QSemaphore>
#include <QThreadPool>
#include <iostream>
#include <memory>
#include <optional>

UploadProcedure::UploadProcedure(const QString &jsonValue, QObject *parent) : QObject(parent) {
    if (const std::optional<ContentPieces> items = parseContent(jsonValue))
        filenameArr_ = distinctPictureNames(*items).value_or(QStringList());
}

namespace {

// What one name came to, handed from the GUI thread to the loop; the semaphore orders the access.
struct Settled {
    QSemaphore semaphore{0};
    std::optional<QString> failure;
};

} // namespace

void UploadProcedure::start() {
    if (started_)
        return;
    started_ = true;
    QPointer<UploadProcedure> self(this);
    const QStringList names = filenameArr_;
    QThreadPool::globalInstance()->start([self, names]() {
        auto settled = std::make_shared<Settled>();
        std::optional<QString> firstFailure;
        for (const QString &name : names) {
            std::cout << "---uploadImage > 正在上传图片。filename = " << name.toStdString() << std::endl;
            HttpTransport::runOnGuiThread([self, name]() {
                if (self)
                    Q_EMIT self->labelChanged(QStringLiteral("正在上传图片 ") + name);
            });
            settled->failure.reset();
            PictureApi::exist(name, [self, name, settled](bool known) {
                if (known) {
                    std::cout << "---uploadImage > 图片存在 不用上传" << std::endl;
                    settled->semaphore.release();
                    return;
                }
                PictureApi::upload(
                    name,
                    [settled](const OperationResult &r) {
                        if (r.isSuccess()) {
                            std::cout << "---uploadImage > 图片上传成功" << std::endl;
                        } else {
                            std::cout << "---uploadImage > 图片上传失败 " << r.msg().toStdString()
                                      << std::endl;
                            settled->failure = r.msg();
                        }
                        settled->semaphore.release();
                    },
                    [self](int percent) {
                        if (self)
                            Q_EMIT self->progressChanged(percent);
                    });
            });
            settled->semaphore.acquire();
            if (settled->failure && !firstFailure)
                firstFailure = settled->failure;
        }
        const OperationResult result =
            firstFailure ? OperationResult::error(*firstFailure) : OperationResult::success();
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, result]() {
                if (self)
                    Q_EMIT self->finished(result);
            },
            Qt::QueuedConnection);
    });
}
