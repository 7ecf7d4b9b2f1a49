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

std::optional<DeliveryResult> PhraseDelivery::waitForLanding(const SendPlan &plan, int index, qint64 beforeMs,
                                                             int holdMs, const std::atomic<bool> &cancel) {
    DesktopBackend &backend = desktop_;
    const SendPlan::Piece &piece = plan.pieces[index];
    const qint64 strokeMs = ClipboardRequests::nowMs();
    const quint64 window = plan.target.window;
    const PasteLanding::Pattern pattern = PasteLanding::merged(patternOf(keyOf(plan.target, piece.picture)),
                                                               patternOf(keyOf(plan.target, !piece.picture)));
    const int count = int(plan.pieces.size());
    const SendPlan::Piece *previous = index > 0 ? &plan.pieces[index - 1] : nullptr;
    for (;;) {
        // Only the target's own requests count: a window manager or clipboard manager reads every
        // new clipboard content whether anything is pasted or not.
        QList<PasteLanding::Request> own;
        for (const ClipboardRequests::Request &r : backend.clipboardRequests().all()) {
            if (!backend.sameClient(r.requestor, window))
                continue;
            const QString type = backend.typeName(r.type);
            // The previous picture's bytes asked for after it was replaced: it did not arrive. (Text
            // is no sign: GTK asks for text on any paste, whatever the clipboard holds.)
            if (previous && previous->picture && !piece.picture && carriesPiece(type, true))
                return DeliveryResult::missed(index, count, previous->picture);
            if (r.atMs >= beforeMs)
                own.append({r.atMs, carriesPiece(type, piece.picture)});
        }
        const qint64 now = ClipboardRequests::nowMs();
        const auto verdict = PasteLanding::judge(own, strokeMs, now, pattern);
        if (verdict != PasteLanding::Verdict::Waiting && now - strokeMs >= holdMs) {
            if (tracing())
                trace(piece, own, strokeMs, now, verdict);
            if (verdict == PasteLanding::Verdict::Missed)
                return DeliveryResult::missed(index + 1, count, piece.picture);
            remember(keyOf(plan.target, piece.picture), PasteLanding::learn(own));
            return std::nullopt;
        }
        if (cancel)
            return DeliveryResult::dropped(Reason::Quitting);
        QThread::msleep(pollMs);
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
    bool saved = false;
    const DeliveryResult result = runSteps(plan, startBy, cancel, saved);
    // After the last piece has landed, or the send ended early: the agent's clipboard comes back.
    // Not when the program is quitting: the restore needs the GUI thread, which is then waiting
    // for this one.
    if (saved && !cancel)
        clipboard_.restore();
    return result;
}

DeliveryResult PhraseDelivery::runSteps(const SendPlan &plan, QDeadlineTimer startBy,
                                        const std::atomic<bool> &cancel, bool &saved) {
    QStringList notices;
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
            if (plan.restoreClipboard && !saved)
                saved = clipboard_.save(plan.paste.primary);
            desktop_.clipboardRequests().clear();
            const bool written = piece.picture ? clipboard_.setImage(piece.bytes, plan.paste.primary)
                                               : clipboard_.setText(piece.text, plan.paste.primary);
            if (!written)
                failed = Reason::ClipboardBusy;
            break;
        }
        case Kind::Paste: {
            // A stroke before the desktop has the piece would paste the previous one.
            if (!desktop_.awaitClipboardTaken(cancel)) {
                if (cancel)
                    return DeliveryResult::dropped(Reason::Quitting);
                return DeliveryResult::missed(step.piece + 1, int(plan.pieces.size()),
                                              plan.pieces[step.piece].picture);
            }
            // Requests from before the stroke are not the paste: GTK programs, for one, look at
            // every new clipboard content to enable their paste button.
            const qint64 beforeMs = ClipboardRequests::nowMs();
            failed = keys_.typeInto(plan.target, plan.paste.stroke);
            if (failed)
                break;
            if (auto missed = waitForLanding(plan, step.piece, beforeMs, step.ms, cancel))
                return *missed;
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
    if (plan.skippedPictures > 0)
        notices << QString::fromUtf8("图片未发送：目标程序不接收图片");
    return DeliveryResult::delivered(notices);
}
