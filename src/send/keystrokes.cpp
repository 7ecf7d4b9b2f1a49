#include "send/keystrokes.h"

#include <QDeadlineTimer>
#include <QThread>

namespace {

using Focus = DesktopBackend::Focus;
using Reason = DeliveryResult::Reason;

} // namespace

std::optional<Reason> KeyStrokes::bringForward(const RunningApplication &target) {
    DesktopBackend &backend = desktop_;
    switch (backend.focus(target.window)) {
    case Focus::Target:
        return std::nullopt;
    case Focus::Gone:
        return Reason::TargetGone;
    case Focus::Elsewhere:
        return Reason::FocusMoved;
    case Focus::Own:
    case Focus::Nowhere:
        break;
    }
    if (!backend.activate(target))
        return Reason::NotInFront;
    QDeadlineTimer deadline(reactivateWaitMs);
    for (;;) {
        const Focus now = backend.focus(target.window);
        if (now == Focus::Target)
            return std::nullopt;
        if (now == Focus::Gone)
            return Reason::TargetGone;
        if (deadline.hasExpired())
            return now == Focus::Elsewhere ? Reason::FocusMoved : Reason::NotInFront;
        QThread::msleep(5);
    }
}

std::optional<Reason> KeyStrokes::typeInto(const RunningApplication &target, DesktopBackend::Stroke stroke) {
    DesktopBackend &backend = desktop_;
    QDeadlineTimer modifiers(modifierWaitMs);
    bool broughtBack = false;
    for (;;) {
        switch (backend.strokeInto(target.window, stroke)) {
        case DesktopBackend::StrokeResult::Typed:
            return std::nullopt;
        case DesktopBackend::StrokeResult::Failed:
            return backend.focus(target.window) == Focus::Gone ? Reason::TargetGone : Reason::NotInFront;
        case DesktopBackend::StrokeResult::ModifiersHeld:
            if (modifiers.hasExpired())
                return Reason::ModifiersHeld;
            QThread::msleep(10);
            break;
        case DesktopBackend::StrokeResult::NotFocused:
            // Once per stroke: a target that loses the focus again is fought over by something.
            if (broughtBack)
                return Reason::NotInFront;
            if (const auto failed = bringForward(target))
                return failed;
            broughtBack = true;
            break;
        }
    }
}
