#include "send/phrasedelivery.h"

#include "model/contentformat.h"
#include "send/clipboardutil.h"
#include "send/keystrokes.h"
#include "send/targetwindowtracker.h"
#include "send/windowactivation.h"
#include "store/appfileutil.h"

#include <QThread>

const QStringList &PhraseDelivery::specialIdentifiers() {
    // "com.tencent.qq" is the program's identifier on the desktop where this tool began. Its Linux
    // client is an Electron program whose windows carry the WM_CLASS class "QQ" (instance "qq");
    // its package installs qq.desktop, so a window that names its desktop file says "qq"; the
    // Flatpak build's application id is "com.qq.QQ".
    static const QStringList ids{QStringLiteral("com.tencent.qq"), QStringLiteral("QQ"), QStringLiteral("qq"),
                                 QStringLiteral("com.qq.QQ")};
    return ids;
}

bool PhraseDelivery::isSpecialTarget(const std::optional<QString> &bundleIdentifier) {
    return bundleIdentifier && specialIdentifiers().contains(*bundleIdentifier);
}

std::optional<RunningApplication> PhraseDelivery::activate() {
    // One copy: the tracker may replace the target meanwhile, this send keeps the one it began with.
    const auto target = TargetWindowTracker::lastTarget();
    if (!target)
        return std::nullopt;
    if (!WindowActivation::activate(*target))
        return std::nullopt;
    return target;
}

void PhraseDelivery::sendPieces(const ContentPieces &items, const RunningApplication &target) {
    // The target pulls a pasted piece from us when it handles Ctrl+V; a busy one can take longer
    // than the pause, and replacing the clipboard before that would paste the next piece twice.
    bool unfetched = false;
    for (const ContentPiecePtr &item : normalizePieces(items)) {
        std::optional<QByteArray> bytes;
        if (item->type == ContentPiece::Image)
            bytes = AppFileUtil::readImage(item->value);
        if (item->type == ContentPiece::Text || bytes) {
            if (unfetched)
                ClipboardUtil::waitUntilFetched(fetchWaitMs);
            const bool written =
                bytes ? ClipboardUtil::setImage(*bytes) : ClipboardUtil::setText(item->value);
            if (written)
                KeyStrokes::paste(target);
            unfetched = written;
        }
        QThread::usleep(afterPieceUs);
    }
}

void PhraseDelivery::sendAuto(const QString &jsonValue, bool isEnter) {
    const auto items = parseContent(jsonValue);
    if (!items)
        return;
    if (allPictureNames(*items)) {
        sendPieces(jsonValue, isEnter);
        return;
    }
    if (const auto text = getStringValue(*items))
        sendText(*text, isEnter);
}

void PhraseDelivery::sendPieces(const QString &jsonValue, bool isEnter) {
    const auto target = activate();
    if (!target)
        return;
    QThread::usleep(piecesAfterActivateUs);
    const auto items = parseContent(jsonValue);
    if (!items)
        return;
    sendPieces(*items, *target);
    if (isEnter)
        KeyStrokes::enter(*target);
}

void PhraseDelivery::sendText(const QString &text, bool isEnter) {
    const auto target = activate();
    if (!target)
        return;
    QThread::usleep(textAfterActivateUs);
    if (!ClipboardUtil::setText(text))
        return;
    QThread::usleep(textBeforePasteUs);
    KeyStrokes::paste(*target);
    if (isEnter)
        KeyStrokes::enter(*target);
}

void PhraseDelivery::sendQQ(const QString &jsonValue, bool isEnter) {
    const auto target = activate();
    if (!target)
        return;
    const auto items = parseContent(jsonValue);
    if (!items)
        return;
    QThread::usleep(beforeLeftUs);
    KeyStrokes::leftArrow(*target);
    QThread::usleep(afterLeftUs);
    if (distinctPictureNames(*items)) {
        if (const auto again = parseContent(jsonValue))
            sendPieces(*again, *target);
    } else {
        const auto text = getStringValue(*items);
        if (!text)
            return;
        if (ClipboardUtil::setText(*text))
            KeyStrokes::paste(*target);
    }
    if (isEnter)
        KeyStrokes::enter(*target);
}
