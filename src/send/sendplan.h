#pragma once

#include "desktop/runningapplication.h"
#include "model/phrasecontent.h"
#include "send/pastekeys.h"

#include <QByteArray>
#include <QList>
#include <QString>

// A send worked out before anything happens: the target window, its paste stroke, the pieces
// with their bytes already read, and the steps with their waits, in order. Made once per send on
// the GUI thread from the parsed phrase; carried out by PhraseDelivery.
class SendPlan {
public:
    struct Piece {
        bool picture = false;
        QString text;
        QByteArray bytes;
    };

    struct Step {
        enum class Kind {
            Activate,       // bring the target forward
            Pause,          // ms
            AwaitFocus,     // until the target holds the keyboard focus, at most ms
            AwaitClipboard, // until the clipboard is confirmed ours, at most ms
            Offer,          // put pieces[piece] on the clipboard
            Paste,          // the paste stroke, then wait until the target is done with the piece,
                            // and at least ms after the stroke
            Left,
            Enter,
        };
        Kind kind = Kind::Pause;
        int ms = 0;
        int piece = -1;
    };

    RunningApplication target;
    PasteKeys::Paste paste;
    QList<Piece> pieces;
    QList<Step> steps;
    // Pictures left out because the target cannot take them.
    int skippedPictures = 0;

    // Adaptive: each pause becomes a wait for what it stands for, bounded by the pause. Fixed:
    // the pauses themselves, for a program that turns out to need them.
    enum class PauseMode { Adaptive, Fixed };
    PauseMode pauseMode = PauseMode::Adaptive;

    // An empty plan (no steps) when the phrase holds nothing to send.
    // configuredPaste is the paste stroke the settings name for the target, if any.
    static SendPlan make(const PhraseContent &content, const RunningApplication &target, bool isEnter,
                         PauseMode mode, const QString &configuredPaste = {});

    // "fixed" (the "sendPauseMode" setting) in any case and spacing; anything else is adaptive.
    static PauseMode pauseModeOf(const QString &setting);

    // Identifiers of the chat program that wants a Left arrow before the paste.
    static const QStringList &specialIdentifiers();
    static bool isSpecialTarget(const std::optional<QString> &identifier);

    // Pauses in fixed mode, and the longest waits in adaptive mode, in milliseconds.
    static constexpr int textAfterActivateMs = 100;
    static constexpr int textBeforePasteMs = 200;
    static constexpr int piecesAfterActivateMs = 150;
    static constexpr int afterPieceMs = 80;
    static constexpr int beforeLeftMs = 150;
    static constexpr int afterLeftMs = 100;

private:
    void addPieces(const PhraseContent &content);
    void addStep(Step::Kind kind, int ms = 0, int piece = -1);
    // A pause in fixed mode; in adaptive mode the wait it stands for (Pause: nothing at all).
    void addWait(Step::Kind adaptive, int ms);
};
