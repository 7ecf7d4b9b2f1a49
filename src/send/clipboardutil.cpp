#include "send/clipboardutil.h"

#include "desktop/clipboardrequests.h"
#include "desktop/desktopbackend.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QThread>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace {

const QString pngType = QStringLiteral("image/png");

// What put() set last, compared by address only, on the GUI thread.
const QMimeData *lastPut[2] = {nullptr, nullptr};

// A call handed to the GUI thread. The caller may give up waiting; the GUI thread then skips it.
template <typename Result> struct GuiCall {
    std::mutex mutex;
    std::condition_variable done;
    bool finished = false;
    bool abandoned = false;
    Result result{};
};

template <typename F> auto onGuiThread(F work) -> decltype(work()) {
    using Result = decltype(work());
    auto *app = QCoreApplication::instance();
    if (!app || !qobject_cast<QGuiApplication *>(app))
        return Result{};
    if (QThread::currentThread() == app->thread())
        return work();
    auto call = std::make_shared<GuiCall<Result>>();
    QMetaObject::invokeMethod(
        app,
        [call, work] {
            std::lock_guard lock(call->mutex);
            if (call->abandoned)
                return;
            call->result = work();
            call->finished = true;
            call->done.notify_all();
        },
        Qt::QueuedConnection);
    std::unique_lock lock(call->mutex);
    if (!call->done.wait_for(lock, std::chrono::milliseconds(ClipboardUtil::guiWaitMs),
                             [&] { return call->finished; })) {
        call->abandoned = true;
        return Result{};
    }
    return call->result;
}

bool put(QMimeData *data, bool alsoPrimary) {
    ClipboardRequests::watch();
    QClipboard *clipboard = QGuiApplication::clipboard();
    if (alsoPrimary && clipboard->supportsSelection()) {
        auto *copy = new QMimeData;
        for (const QString &format : data->formats())
            copy->setData(format, data->data(format));
        clipboard->setMimeData(copy, QClipboard::Selection);
        lastPut[QClipboard::Selection] = copy;
    }
    clipboard->clear();
    clipboard->setMimeData(data);
    lastPut[QClipboard::Clipboard] = data;
    // The clipboard hands back our own data only while we own it (on X11, the selection).
    return clipboard->mimeData() == data;
}

} // namespace

bool ClipboardUtil::setText(const QString &value, bool alsoPrimary) {
    DesktopBackend &backend = DesktopBackend::instance();
    if (backend.servesClipboard()) {
        // The names toolkits and XWayland programs ask for text by.
        const QByteArray utf8 = value.toUtf8();
        return backend.setClipboard({{"text/plain;charset=utf-8", utf8},
                                     {"text/plain", utf8},
                                     {"UTF8_STRING", utf8},
                                     {"TEXT", utf8},
                                     {"STRING", utf8}},
                                    alsoPrimary);
    }
    return onGuiThread([value, alsoPrimary] {
        auto *data = new QMimeData;
        data->setText(value);
        return put(data, alsoPrimary);
    });
}

bool ClipboardUtil::setImage(const QByteArray &bytes, bool alsoPrimary) {
    DesktopBackend &backend = DesktopBackend::instance();
    if (backend.servesClipboard())
        return backend.setClipboard({{pngType.toLatin1(), bytes}}, alsoPrimary);
    return onGuiThread([bytes, alsoPrimary] {
        auto *data = new QMimeData;
        data->setData(pngType, bytes);
        return put(data, alsoPrimary);
    });
}

bool ClipboardUtil::ownsClipboard(bool alsoPrimary) {
    DesktopBackend &backend = DesktopBackend::instance();
    if (backend.servesClipboard())
        return backend.ownsClipboard();
    return onGuiThread([alsoPrimary] {
        // On X11 mimeData() asks the server who owns the selection: our own data comes back only
        // while we do.
        QClipboard *clipboard = QGuiApplication::clipboard();
        const auto holds = [clipboard](QClipboard::Mode mode) {
            return lastPut[mode] && clipboard->mimeData(mode) == lastPut[mode];
        };
        return holds(QClipboard::Clipboard) &&
               (!alsoPrimary || !clipboard->supportsSelection() || holds(QClipboard::Selection));
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
