#include "send/clipboardutil.h"

#include "send/desktopbackend.h"

#include <QClipboard>
#include <QDeadlineTimer>
#include <QGuiApplication>
#include <QMimeData>
#include <QThread>
#include <atomic>
#include <memory>
#include <mutex>

namespace {

const QString pngType = QStringLiteral("image/png");

using Flag = std::shared_ptr<std::atomic<bool>>;

// Clipboard content that notes when another program (or anyone) reads it.
class TrackedMimeData : public QMimeData {
public:
    Flag fetched = std::make_shared<std::atomic<bool>>(false);

protected:
    QVariant retrieveData(const QString &mimeType, QMetaType preferredType) const override {
        fetched->store(true);
        return QMimeData::retrieveData(mimeType, preferredType);
    }
};

std::mutex lastMutex;
Flag lastFetched;

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

bool put(TrackedMimeData *data) {
    {
        std::lock_guard lock(lastMutex);
        lastFetched = data->fetched;
    }
    QClipboard *clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    clipboard->setMimeData(data);
    // The clipboard hands back our own data only while we own it (on X11, the selection).
    return clipboard->mimeData() == data;
}

} // namespace

bool ClipboardUtil::setText(const QString &value) {
    DesktopBackend &backend = DesktopBackend::instance();
    if (backend.servesClipboard()) {
        // The names toolkits and XWayland programs ask for text by.
        const QByteArray utf8 = value.toUtf8();
        return backend.setClipboard({{"text/plain;charset=utf-8", utf8},
                                     {"text/plain", utf8},
                                     {"UTF8_STRING", utf8},
                                     {"TEXT", utf8},
                                     {"STRING", utf8}});
    }
    return onGuiThread([&] {
        auto *data = new TrackedMimeData;
        data->setText(value);
        return put(data);
    });
}

bool ClipboardUtil::setImage(const QByteArray &bytes) {
    DesktopBackend &backend = DesktopBackend::instance();
    if (backend.servesClipboard())
        return backend.setClipboard({{pngType.toLatin1(), bytes}});
    return onGuiThread([&] {
        auto *data = new TrackedMimeData;
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

bool ClipboardUtil::waitUntilFetched(int timeoutMs) {
    DesktopBackend &backend = DesktopBackend::instance();
    if (backend.servesClipboard())
        return backend.waitUntilClipboardRead(timeoutMs);
    Flag flag;
    {
        std::lock_guard lock(lastMutex);
        flag = lastFetched;
    }
    if (!flag)
        return false;
    // The GUI thread is the one that answers the request; it must not wait for it.
    const auto *app = QCoreApplication::instance();
    const bool onGui = !app || QThread::currentThread() == app->thread();
    QDeadlineTimer deadline(onGui ? 0 : timeoutMs);
    while (!flag->load()) {
        if (deadline.hasExpired())
            return false;
        QThread::msleep(2);
    }
    return true;
}
