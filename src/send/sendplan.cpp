#include "send/sendplan.h"

#include "model/contentformat.h"
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

// Text and pictures in their order, 80 ms after each piece whatever became of it.
void SendPlan::addPieces(const ContentPieces &items) {
    for (const ContentPiecePtr &item : normalizePieces(items)) {
        Piece piece;
        if (item->type == ContentPiece::Text) {
            piece.text = item->value;
        } else if (item->type == ContentPiece::Image && paste.takesPictures) {
            const auto bytes = AppFileUtil::readImage(item->value);
            piece.picture = true;
            piece.bytes = bytes.value_or(QByteArray());
            if (!bytes) {
                addStep(Step::Kind::Pause, afterPieceMs); // a missing file is skipped
                continue;
            }
        } else {
            if (item->type == ContentPiece::Image)
                ++skippedPictures;
            addStep(Step::Kind::Pause, afterPieceMs);
            continue;
        }
        pieces.append(piece);
        addStep(Step::Kind::Offer, 0, int(pieces.size() - 1));
        addStep(Step::Kind::Paste, afterPieceMs, int(pieces.size() - 1));
    }
}

SendPlan SendPlan::make(const ContentPieces &items, const RunningApplication &target, bool isEnter) {
    SendPlan plan;
    plan.target = target;
    plan.paste = PasteKeys::forProgram(target.bundleIdentifier);
    const auto text = getStringValue(items);
    if (isSpecialTarget(target.bundleIdentifier)) {
        plan.addStep(Step::Kind::Activate);
        plan.addStep(Step::Kind::Pause, beforeLeftMs);
        plan.addStep(Step::Kind::Left);
        plan.addStep(Step::Kind::Pause, afterLeftMs);
        if (distinctPictureNames(items)) {
            plan.addPieces(items);
        } else if (text) {
            plan.pieces.append({false, *text, {}});
            plan.addStep(Step::Kind::Offer, 0, 0);
            plan.addStep(Step::Kind::Paste, 0, 0);
        } else {
            plan.steps.clear();
            return plan;
        }
    } else if (allPictureNames(items)) {
        plan.addStep(Step::Kind::Activate);
        plan.addStep(Step::Kind::Pause, piecesAfterActivateMs);
        plan.addPieces(items);
    } else if (text) {
        plan.addStep(Step::Kind::Activate);
        plan.addStep(Step::Kind::Pause, textAfterActivateMs);
        plan.pieces.append({false, *text, {}});
        plan.addStep(Step::Kind::Offer, 0, 0);
        plan.addStep(Step::Kind::Pause, textBeforePasteMs);
        plan.addStep(Step::Kind::Paste, 0, 0);
    } else {
        return plan;
    }
    if (isEnter)
        plan.addStep(Step::Kind::Enter);
    return plan;
}
