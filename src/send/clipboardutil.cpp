#include "send/clipboardutil.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QThread>

namespace {

const QString pngType = QStringLiteral("image/png");

template <typename F> auto onGuiThread(F work) -> decltype(work()) {
    using Result = decltype(work());
    auto *app = QCoreApplication::instance();
    if (!app || !qobject_cast<QGuiApplication *>(app))
        return Result{};
    if (QThread::currentThread() == app->thread())
        return work();
    Result result{};
    QMetaObject::invokeMethod(
        app, [&] { result = work(); }, Qt::BlockingQueuedConnection);
    return result;
}

bool put(QMimeData *data) {
    QClipboard *clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    clipboard->setMimeData(data);
    // The clipboard hands back our own data only while we own it (on X11, the selection).
    return clipboard->mimeData() == data;
}

} // namespace

bool ClipboardUtil::setText(const QString &value) {
    return onGuiThread([&] {
        auto *data = new QMimeData;
        data->setText(value);
        return put(data);
    });
}

bool ClipboardUtil::setImage(const QByteArray &bytes) {
    return onGuiThread([&] {
        auto *data = new QMimeData;
        data->setData(pngType, bytes);
        return put(data);
    });
}

std::optional<QByteArray> ClipboardUtil::getImageData() {
    return onGuiThread([]() -> std::optional<QByteArray> {
        const QMimeData *data = QGuiApplication::clipboard()->mimeData();
        if (!data || !data->hasFormat(pngType))
            return std::nullopt;
        return data->data(pngType);
    });
}

std::optional<QString> ClipboardUtil::getImageBase64() {
    const auto bytes = getImageData();
    if (!bytes)
        return std::nullopt;
    return QString::fromLatin1(bytes->toBase64());
}
