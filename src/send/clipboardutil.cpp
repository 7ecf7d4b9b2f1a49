#include "send/clipboardutil.h"

#include "desktop/desktopbackend.h"
#include "model/logging.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QThread>
#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace {

const QString pngType = QStringLiteral("image/png");

// Qt's own view of a picture on the clipboard, made from its real types.
const QString qtImageType = QStringLiteral("application/x-qt-image");

void addHints(QMimeData *data) {
    for (const auto &[type, value] : ClipboardUtil::privateHints())
        data->setData(QString::fromLatin1(type), value);
}

// Targets of the X selection protocol itself, which Qt lists among a foreign owner's formats.
bool isProtocolTarget(const QString &format) {
    static const QStringList targets{QStringLiteral("TARGETS"),          QStringLiteral("MULTIPLE"),
                                     QStringLiteral("TIMESTAMP"),        QStringLiteral("SAVE_TARGETS"),
                                     QStringLiteral("DELETE"),           QStringLiteral("INCR"),
                                     QStringLiteral("INSERT_SELECTION"), QStringLiteral("INSERT_PROPERTY")};
    return targets.contains(format);
}

bool isHint(const QByteArray &type) {
    const auto &hints = ClipboardUtil::privateHints();
    return std::any_of(hints.begin(), hints.end(), [&type](const auto &hint) { return hint.first == type; });
}

// Every type of one selection with its bytes, counted against budget. Absent when the budget ran
// out (tooLarge) or there was no content to read.
std::optional<ClipboardUtil::Formats> copyOf(QClipboard::Mode mode, qint64 &budget, bool &tooLarge) {
    const QMimeData *data = QGuiApplication::clipboard()->mimeData(mode);
    ClipboardUtil::Formats out;
    if (!data)
        return out;
    for (const QString &format : data->formats()) {
        const QByteArray type = format.toUtf8();
        if (format == qtImageType || isProtocolTarget(format) || isHint(type))
            continue;
        const QByteArray bytes = data->data(format);
        budget -= bytes.size();
        if (budget < 0) {
            tooLarge = true;
            return std::nullopt;
        }
        out.append({type, bytes});
    }
    return out;
}

struct Copies {
    std::optional<ClipboardUtil::Formats> of[2];
    bool tooLarge = false;
};

void logTooLarge() {
    qCInfo(lcSend, "clipboard not copied before the send: it holds more than %lld MiB",
           ClipboardUtil::maxCopyBytes >> 20);
}

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

const ClipboardUtil::Formats &ClipboardUtil::privateHints() {
    // The first is the one clipboard managers on Linux look for; the others are read by those
    // that follow the conventions of other systems.
    static const Formats hints{{"x-kde-passwordManagerHint", "secret"},
                               {"application/x-nspasteboard-concealed-type", "secret"},
                               {"org.nspasteboard.ConcealedType", "secret"},
                               {"org.nspasteboard.TransientType", "secret"}};
    return hints;
}

bool ClipboardUtil::save(bool alsoPrimary) {
    saved_[0].reset();
    saved_[1].reset();
    DesktopBackend &backend = desktop_;
    if (backend.servesClipboard()) {
        bool tooLarge = false;
        saved_[0] = backend.clipboardContent(maxCopyBytes, &tooLarge);
        if (tooLarge)
            logTooLarge();
        return saved_[0].has_value();
    }
    const Copies copies = onGuiThread([alsoPrimary] {
        Copies out;
        qint64 budget = maxCopyBytes;
        out.of[QClipboard::Clipboard] = copyOf(QClipboard::Clipboard, budget, out.tooLarge);
        if (alsoPrimary && QGuiApplication::clipboard()->supportsSelection() && !out.tooLarge)
            out.of[QClipboard::Selection] = copyOf(QClipboard::Selection, budget, out.tooLarge);
        return out;
    });
    if (copies.tooLarge) {
        logTooLarge();
        return false;
    }
    saved_[0] = copies.of[0];
    saved_[1] = copies.of[1];

    return saved_[0] || saved_[1];
}

void ClipboardUtil::restore() {
    if (!saved_[0] && !saved_[1])
        return;
    const Copies copies{{std::move(saved_[0]), std::move(saved_[1])}, false};
    saved_[0].reset();
    saved_[1].reset();
    DesktopBackend &backend = desktop_;
    bool kept = true;
    if (backend.servesClipboard()) {
        if (copies.of[0] && backend.ownsClipboard())
            backend.setClipboard(*copies.of[0], false);
        else
            kept = !copies.of[0];
    } else {
        kept = onGuiThread([this, &copies] {
            QClipboard *clipboard = QGuiApplication::clipboard();
            bool all = true;
            for (const QClipboard::Mode mode : {QClipboard::Clipboard, QClipboard::Selection}) {
                if (!copies.of[mode] || !lastPut_[mode])
                    continue;
                // Someone set it since the last piece: the agent's new copy stays.
                if (clipboard->mimeData(mode) != lastPut_[mode]) {
                    all = false;
                    continue;
                }
                lastPut_[mode] = nullptr;
                if (copies.of[mode]->isEmpty()) {
                    clipboard->clear(mode);
                    continue;
                }
                auto *data = new QMimeData;
                for (const auto &[type, bytes] : *copies.of[mode])
                    data->setData(QString::fromUtf8(type), bytes);
                clipboard->setMimeData(data, mode);
            }
            return all;
        });
    }
    if (!kept)
        qCInfo(lcSend, "clipboard not restored after the send: it was set anew during the send");
}

bool ClipboardUtil::put(QMimeData *data, bool alsoPrimary) {
    desktop_.clipboardRequests().watchX11Selections();
    addHints(data);
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
        return backend.setClipboard(Formats{{"text/plain;charset=utf-8", utf8},
                                            {"text/plain", utf8},
                                            {"UTF8_STRING", utf8},
                                            {"TEXT", utf8},
                                            {"STRING", utf8}} +
                                        privateHints(),
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
        return backend.setClipboard(Formats{{pngType.toLatin1(), bytes}} + privateHints(), alsoPrimary);
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
