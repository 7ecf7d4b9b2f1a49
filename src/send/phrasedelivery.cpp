#include "send/phrasedelivery.h"

#include "desktop/clipboardrequests.h"
#include "desktop/desktopbackend.h"
#include "model/logging.h"

#include <QThread>

namespace {

using Reason = DeliveryResult::Reason;
using Kind = SendPlan::Step::Kind;
using Focus = DesktopBackend::Focus;

// QUILLORA_SEND_TRACE=1: each piece's requests and verdict on standard output, to see how a
// program reads the clipboard.
bool tracing() {
    static const bool on = qEnvironmentVariableIntValue("QUILLORA_SEND_TRACE") == 1;
    return on;
}

void trace(const SendPlan::Piece &piece, const QList<PasteLanding::Request> &own, qint64 strokeMs,
           qint64 nowMs, PasteLanding::Verdict verdict) {
    QString line = QStringLiteral("send trace: %1 verdict %2 after %3 ms, requests")
                       .arg(piece.picture ? QStringLiteral("picture") : QStringLiteral("text"))
                       .arg(int(verdict))
                       .arg(nowMs - strokeMs);
    for (const PasteLanding::Request &r : own)
        line +=
            QStringLiteral(" %1%2").arg(r.atMs - strokeMs).arg(r.ownType ? QStringLiteral("*") : QString());
    qCInfo(lcSend, "%s", qUtf8Printable(line));
}

PhraseDelivery::WindowKey keyOf(const RunningApplication &target, bool picture) {
    return {target.window, target.pid, picture};
}

} // namespace

size_t qHash(const PhraseDelivery::WindowKey &key, size_t seed) {
    return qHashMulti(seed, key.window, key.pid, key.picture);
}

PhraseDelivery::PhraseDelivery(DesktopBackend &desktop)
    : desktop_(desktop), clipboard_(desktop), keys_(desktop) {}

PasteLanding::Pattern PhraseDelivery::patternOf(const WindowKey &key) const {
    std::lock_guard lock(patternMutex_);
    return patterns_.value(key);
}

void PhraseDelivery::remember(const WindowKey &key, const PasteLanding::Pattern &pattern) {
    std::lock_guard lock(patternMutex_);
    if (patterns_.size() > 256)
        patterns_.clear();
    patterns_.insert(key, pattern);
}

bool PhraseDelivery::carriesPiece(const QString &typeName, bool picture) {
    if (picture)
        return typeName == QLatin1String("image/png");
    return typeName == QLatin1String("UTF8_STRING") || typeName == QLatin1String("STRING") ||
           typeName == QLatin1String("TEXT") || typeName == QLatin1String("COMPOUND_TEXT") ||
           typeName.startsWith(QLatin1String("text/plain"));
}

std::optional<Reason> PhraseDelivery::waitForLanding(const SendPlan &plan, const SendPlan::Piece &piece,
                                                     qint64 beforeMs, int holdMs,
                                                     const std::atomic<bool> &cancel, bool *declined) {
    DesktopBackend &backend = desktop_;
    const qint64 strokeMs = ClipboardRequests::nowMs();
    const quint64 window = plan.target.window;
    const PasteLanding::Pattern pattern = patternOf(keyOf(plan.target, piece.picture));
    for (;;) {
        // Only the target's own requests count: a window manager or clipboard manager reads every
        // new clipboard content whether anything is pasted or not.
        QList<PasteLanding::Request> own;
        for (const ClipboardRequests::Request &r : backend.clipboardRequests().all())
            if (r.atMs >= beforeMs && backend.sameClient(r.requestor, window))
                own.append({r.atMs, carriesPiece(backend.typeName(r.type), piece.picture)});
        const qint64 now = ClipboardRequests::nowMs();
        const auto verdict = PasteLanding::judge(own, strokeMs, now, pattern);
        if (verdict != PasteLanding::Verdict::Waiting && now - strokeMs >= holdMs) {
            if (tracing())
                trace(piece, own, strokeMs, now, verdict);
            switch (verdict) {
            case PasteLanding::Verdict::Landed:
                remember(keyOf(plan.target, piece.picture), PasteLanding::learn(own));
                return std::nullopt;
            case PasteLanding::Verdict::Unserved:
                // Where a program's look at the types goes unheard, a picture nobody fetched was not
                // wanted; text always is.
                if (!piece.picture || backend.hearsTypeQueries())
                    return Reason::NotPasted;
                [[fallthrough]];
            case PasteLanding::Verdict::Declined:
                if (!piece.picture)
                    return Reason::NotPasted;
                *declined = true;
                return std::nullopt;
            case PasteLanding::Verdict::Waiting:
                return Reason::NotPasted;
            }
        }
        if (cancel)
            return Reason::Quitting;
        QThread::msleep(2);
    }
}

bool PhraseDelivery::awaitUntil(const std::function<bool()> &done, int ms, const std::atomic<bool> &cancel) {
    const QDeadlineTimer deadline(ms);
    for (;;) {
        if (done())
            return true;
        if (cancel || deadline.hasExpired())
            return false;
        QThread::msleep(pollMs);
    }
}

DeliveryResult PhraseDelivery::run(const SendPlan &plan, QDeadlineTimer startBy,
                                   const std::atomic<bool> &cancel) {
    QStringList notices;
    int declinedPictures = 0;
    bool typed = false;
    for (const SendPlan::Step &step : plan.steps) {
        if (cancel)
            return DeliveryResult::dropped(Reason::Quitting);
        const bool isStroke = step.kind == Kind::Paste || step.kind == Kind::Left || step.kind == Kind::Enter;
        if (isStroke && !typed && startBy.hasExpired())
            return DeliveryResult::dropped(Reason::Late);
        std::optional<Reason> failed;
        switch (step.kind) {
        case Kind::Activate:
            failed = keys_.bringForward(plan.target);
            break;
        case Kind::Pause:
            QThread::msleep(ulong(step.ms));
            break;
        case Kind::AwaitFocus: {
            // The focus confirmed by the desktop: keys typed from then on reach the target, after
            // whatever it was told before. Not there in time: the next stroke checks again, brings
            // the target back or stops the send.
            DesktopBackend &backend = desktop_;
            const quint64 window = plan.target.window;
            awaitUntil(
                [&backend, window] {
                    const Focus now = backend.focus(window);
                    return now == Focus::Target || now == Focus::Gone;
                },
                step.ms, cancel);
            break;
        }
        case Kind::AwaitClipboard: {
            const bool primary = plan.paste.primary;
            if (!awaitUntil([this, primary] { return clipboard_.ownsClipboard(primary); }, step.ms, cancel))
                failed = cancel ? Reason::Quitting : Reason::ClipboardBusy;
            break;
        }
        case Kind::Offer: {
            const SendPlan::Piece &piece = plan.pieces[step.piece];
            desktop_.clipboardRequests().clear();
            const bool written = piece.picture ? clipboard_.setImage(piece.bytes, plan.paste.primary)
                                               : clipboard_.setText(piece.text, plan.paste.primary);
            if (!written)
                failed = Reason::ClipboardBusy;
            break;
        }
        case Kind::Paste: {
            desktop_.awaitClipboardTaken(cancel);
            // Requests from before the stroke are not the paste: GTK programs, for one, look at
            // every new clipboard content to enable their paste button.
            const qint64 beforeMs = ClipboardRequests::nowMs();
            failed = keys_.typeInto(plan.target, plan.paste.stroke);
            bool declined = false;
            if (!failed)
                failed = waitForLanding(plan, plan.pieces[step.piece], beforeMs, step.ms, cancel, &declined);
            declinedPictures += declined ? 1 : 0;
            break;
        }
        case Kind::Left:
            failed = keys_.typeInto(plan.target, {DesktopBackend::Key::Left, false, false});
            break;
        case Kind::Enter:
            failed = keys_.typeInto(plan.target, {DesktopBackend::Key::Enter, false, false});
            break;
        }
        if (failed)
            return DeliveryResult::dropped(*failed);
        typed = typed || isStroke;
    }
    if (plan.skippedPictures + declinedPictures > 0)
        notices << QString::fromUtf8("图片未发送：目标程序不接收图片");
    return DeliveryResult::delivered(notices);
}
