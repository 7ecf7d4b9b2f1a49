#include "send/sendplan.h"

#include "store/appfileutil.h"

const QStringList &SendPlan::specialIdentifiers() {
    // "com.tencent.qq" is the program's identifier on the desktop where this tool began. Its Linux
    // client is an Electron program whose windows carry the WM_CLASS class "QQ" (instance "qq");
    // its package installs qq.desktop, so a window that names its desktop file says "qq"; the
    // Flatpak build's application id is "com.qq.QQ".
    static const QStringList ids{QStringLiteral("com.tencent.qq"), QStringLiteral("QQ"), QStringLiteral("qq"),
                                 QStringLiteral("com.qq.QQ")};
    return ids;
}

bool SendPlan::isSpecialTarget(const std::optional<QString> &identifier) {
    return identifier && specialIdentifiers().contains(*identifier);
}

void SendPlan::addStep(Step::Kind kind, int ms, int piece) {
    steps.append({kind, ms, piece});
}

void SendPlan::addWait(Step::Kind adaptive, int ms) {
    if (pauseMode == PauseMode::Fixed)
        addStep(Step::Kind::Pause, ms);
    else if (adaptive != Step::Kind::Pause)
        addStep(adaptive, ms);
}

SendPlan::PauseMode SendPlan::pauseModeOf(const QString &setting) {
    return setting.trimmed().toLower() == QLatin1String("fixed") ? PauseMode::Fixed : PauseMode::Adaptive;
}

// Text and pictures in their order. Fixed: 80 ms after each piece whatever became of it.
// Adaptive: the next text follows as soon as the target is done with this one, and a piece left
// out costs nothing (no key went anywhere, so there is nothing to wait for).
void SendPlan::addPieces(const PhraseContent &content) {
    for (const PhraseContent::Piece &item : content.normalized().pieces()) {
        Piece piece;
        if (item.isText()) {
            piece.text = item.value;
        } else if (paste.takesPictures) {
            const auto bytes = AppFileUtil::readImage(item.value);
            piece.picture = true;
            piece.bytes = bytes.value_or(QByteArray());
            if (!bytes) {
                addWait(Step::Kind::Pause, afterPieceMs); // a missing file is skipped
                continue;
            }
        } else {
            ++skippedPictures;
            addWait(Step::Kind::Pause, afterPieceMs);
            continue;
        }
        pieces.append(piece);
        addStep(Step::Kind::Offer, 0, int(pieces.size() - 1));
        // A browser reads a pasted picture's bytes, then inserts it later, on its own time, and
        // drops it if the clipboard has changed in between: nothing the desktop shows tells when
        // that is done, so a picture keeps its pause whatever the mode.
        const bool hold = pauseMode == PauseMode::Fixed || piece.picture;
        addStep(Step::Kind::Paste, hold ? afterPieceMs : 0, int(pieces.size() - 1));
    }
}

SendPlan SendPlan::make(const PhraseContent &content, const RunningApplication &target, bool isEnter,
                        PauseMode mode, const QString &configuredPaste) {
    SendPlan plan;
    plan.pauseMode = mode;
    plan.target = target;
    plan.paste = PasteKeys::forProgram(target.appId, configuredPaste);
    const auto text = content.joinedText();
    if (isSpecialTarget(target.appId)) {
        // The Left and the paste reach the window through its one input queue, in order; what
        // each pause stood for is a window that has the keys, before the Left and after it.
        plan.addStep(Step::Kind::Activate);
        plan.addWait(Step::Kind::AwaitFocus, beforeLeftMs);
        plan.addStep(Step::Kind::Left);
        plan.addWait(Step::Kind::AwaitFocus, afterLeftMs);
        if (!content.distinctPictureNames().isEmpty()) {
            plan.addPieces(content);
        } else if (text) {
            plan.pieces.append({false, *text, {}});
            plan.addStep(Step::Kind::Offer, 0, 0);
            plan.addStep(Step::Kind::Paste, 0, 0);
        } else {
            plan.steps.clear();
            return plan;
        }
    } else if (!content.allPictureNames().isEmpty()) {
        plan.addStep(Step::Kind::Activate);
        plan.addWait(Step::Kind::AwaitFocus, piecesAfterActivateMs);
        plan.addPieces(content);
    } else if (text) {
        plan.addStep(Step::Kind::Activate);
        plan.addWait(Step::Kind::AwaitFocus, textAfterActivateMs);
        plan.pieces.append({false, *text, {}});
        plan.addStep(Step::Kind::Offer, 0, 0);
        plan.addWait(Step::Kind::AwaitClipboard, textBeforePasteMs);
        plan.addStep(Step::Kind::Paste, 0, 0);
    } else {
        return plan;
    }
    if (isEnter)
        plan.addStep(Step::Kind::Enter);
    return plan;
}
