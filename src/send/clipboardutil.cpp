#include "send/clipboardutil.h"

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

} // namespace

bool ClipboardUtil::put(QMimeData *data, bool alsoPrimary) {
    desktop_.clipboardRequests().watchX11Selections();
    QClipboard *clipboard = QGuiApplication::clipboard();
    if (alsoPrimary && clipboard->supportsSelection()) {
        auto *copy = new QMimeData;
        for (const QString &format : data->formats())
            copy->setData(format, data->data(format));
        clipboard->setMimeData(copy, QClipboard::Selection);
        lastPut_[QClipboard::Selection] = copy;
    }
    clipboard->clear();
    clipboard->setMimeData(data);
    lastPut_[QClipboard::Clipboard] = data;
    // The clipboard hands back our own data only while we own it (on X11, the selection).
    return clipboard->mimeData() == data;
}

bool ClipboardUtil::setText(const QString &value, bool alsoPrimary) {
    DesktopBackend &backend = desktop_;
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
    return onGuiThread([this, value, alsoPrimary] {
        auto *data = new QMimeData;
        data->setText(value);
        return put(data, alsoPrimary);
    });
}

bool ClipboardUtil::setImage(const QByteArray &bytes, bool alsoPrimary) {
    DesktopBackend &backend = desktop_;
    if (backend.servesClipboard())
        return backend.setClipboard({{pngType.toLatin1(), bytes}}, alsoPrimary);
    return onGuiThread([this, bytes, alsoPrimary] {
        auto *data = new QMimeData;
        data->setData(pngType, bytes);
        return put(data, alsoPrimary);
    });
}

bool ClipboardUtil::ownsClipboard(bool alsoPrimary) {
    DesktopBackend &backend = desktop_;
    if (backend.servesClipboard())
        return backend.ownsClipboard();
    return onGuiThread([this, alsoPrimary] {
        // On X11 mimeData() asks the server who owns the selection: our own data comes back only
        // while we do.
        QClipboard *clipboard = QGuiApplication::clipboard();
        const auto holds = [this, clipboard](QClipboard::Mode mode) {
            return lastPut_[mode] && clipboard->mimeData(mode) == lastPut_[mode];
        };
        return holds(QClipboard::Clipboard) &&
               (!alsoPrimary || !clipboard->supportsSelection() || holds(QClipboard::Selection));
    });
}
