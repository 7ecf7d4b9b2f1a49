#pragma once

#include "model/contentpiece.h"
#include "send/runningapplication.h"

#include <QString>
#include <QStringList>
#include <optional>

// The delivery procedures: activate the target, then for each piece put it on the clipboard and
// paste it with Ctrl+V, with fixed pauses that give the target time to react. Every failure ends
// the send or skips the piece silently. Runs on a pool thread.
class PhraseDelivery {
public:
    PhraseDelivery() = delete;

    // For the chat program that needs a Left arrow first (see specialIdentifiers()).
    static void sendQQ(const QString &jsonValue, bool isEnter);
    static void sendAuto(const QString &jsonValue, bool isEnter);

    // Identifiers of the chat program that gets sendQQ.
    static const QStringList &specialIdentifiers();
    static bool isSpecialTarget(const std::optional<QString> &bundleIdentifier);

    // Pauses, in microseconds.
    static constexpr unsigned long textAfterActivateUs = 100000;
    static constexpr unsigned long textBeforePasteUs = 200000;
    static constexpr unsigned long piecesAfterActivateUs = 150000;
    static constexpr unsigned long afterPieceUs = 80000;
    static constexpr unsigned long beforeLeftUs = 150000;
    static constexpr unsigned long afterLeftUs = 100000;
    // Longest wait for the target to fetch a pasted piece before the next one replaces it: a stroke
    // may itself wait up to 2 s for modifier keys and 150 ms for the target to come back.
    static constexpr int fetchWaitMs = 2500;

private:
    // Text and pictures in their order.
    static void sendPieces(const QString &jsonValue, bool isEnter);
    // Text only.
    static void sendText(const QString &text, bool isEnter);

    // Brings the target forward; the target, or absent when there is none or it refused.
    static std::optional<RunningApplication> activate();
    static void sendPieces(const ContentPieces &items, const RunningApplication &target);
};
