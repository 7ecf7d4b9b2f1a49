#pragma once

#include <QString>
#include <QStringList>

// How a send ended: delivered whole (perhaps with something to tell the agent, such as pictures
// the target cannot take), or dropped at the first step that failed, with the reason.
class DeliveryResult {
public:
    enum class Reason {
        NoTarget,
        TargetGone,
        NotInFront,
        FocusMoved,
        ModifiersHeld,
        ClipboardBusy,
        NotPasted,
        Late,
        Quitting,
    };

    static DeliveryResult delivered(QStringList notices = {}) {
        return DeliveryResult(true, {}, std::move(notices));
    }
    static DeliveryResult dropped(Reason reason) { return DeliveryResult(false, reason, {}); }
    // The target did not take piece (counted from 1) of count, a picture or a text.
    static DeliveryResult missed(int piece, int count, bool picture) {
        DeliveryResult result(false, Reason::NotPasted, {});
        result.piece_ = piece;
        result.pieceCount_ = count;
        result.picture_ = picture;
        return result;
    }

    bool isDelivered() const { return delivered_; }
    Reason reason() const { return reason_; }
    const QStringList &notices() const { return notices_; }

    // For the agent: "未发送：" and the reason.
    QString message() const;
    // One line for standard output.
    QString logLine() const;

private:
    DeliveryResult(bool delivered, Reason reason, QStringList notices)
        : delivered_(delivered), reason_(reason), notices_(std::move(notices)) {}

    bool delivered_;
    Reason reason_;
    QStringList notices_;
    int piece_ = 0;
    int pieceCount_ = 0;
    bool picture_ = false;
};
