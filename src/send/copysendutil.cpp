#include "send/copysendutil.h"

#include "model/contentformat.h"
#include "send/clipboardutil.h"
#include "send/controller_service_window.h"
#include "send/win32apikey.h"
#include "send/win32apiwindow.h"
#include "store/appfileutil.h"

#include <QThread>

const QStringList &CopySendUtil::specialIdentifiers() {
    // "com.tencent.qq" is the program's identifier on the desktop where this tool began. Its Linux
    // client is an Electron program whose windows carry the WM_CLASS class "QQ" (instance "qq");
    // its package installs qq.desktop, so a window that names its desktop file says "qq"; the
    // Flatpak build's application id is "com.qq.QQ".
    static const QStringList ids{QStringLiteral("com.tencent.qq"), QStringLiteral("QQ"), QStringLiteral("qq"),
                                 QStringLiteral("com.qq.QQ")};
    return ids;
}

bool CopySendUtil::isSpecialTarget(const std::optional<QString> &bundleIdentifier) {
    return bundleIdentifier && specialIdentifiers().contains(*bundleIdentifier);
}

std::optional<qint32> CopySendUtil::activate() {
    // One copy: the tracker may replace the target meanwhile, this send keeps the one it began with.
    const auto target = controller_service_window::nowWindowFrom();
    if (!target)
        return std::nullopt;
    if (!Win32ApiWindow::setForeguangd(*target))
        return std::nullopt;
    return target->processIdentifier;
}

void CopySendUtil::sendPieces(const DataJsonItemArr &items, qint32 pid) {
    // The target pulls a pasted piece from us when it handles Ctrl+V; a busy one can take longer
    // than the pause, and replacing the clipboard before that would paste the next piece twice.
    bool unfetched = false;
    for (const DataJsonItemPtr &item : toLinktext(items)) {
        std::optional<QByteArray> bytes;
        if (item->type == DataJsonItem::Image)
            bytes = AppFileUtil::readImage(item->value);
        if (item->type == DataJsonItem::Text || bytes) {
            if (unfetched)
                ClipboardUtil::waitUntilFetched(fetchWaitMs);
            const bool written =
                bytes ? ClipboardUtil::setImage(*bytes) : ClipboardUtil::setText(item->value);
            if (written)
                Win32ApiKey::command_V(pid);
            unfetched = written;
        }
        QThread::usleep(afterPieceUs);
    }
}

void CopySendUtil::sendAuto(const QString &jsonValue, bool isEnter) {
    const auto items = toDataJsonItemArr(jsonValue);
    if (!items)
        return;
    if (getImagenameArrAll(*items)) {
        图文顺序发送(jsonValue, isEnter);
        return;
    }
    if (const auto text = getStringValue(*items))
        文本发送(*text, isEnter);
}

void CopySendUtil::图文顺序发送(const QString &jsonValue, bool isEnter) {
    const auto pid = activate();
    if (!pid)
        return;
    QThread::usleep(piecesAfterActivateUs);
    const auto items = toDataJsonItemArr(jsonValue);
    if (!items)
        return;
    sendPieces(*items, *pid);
    if (isEnter)
        Win32ApiKey::enter(*pid);
}

void CopySendUtil::文本发送(const QString &text, bool isEnter) {
    const auto pid = activate();
    if (!pid)
        return;
    QThread::usleep(textAfterActivateUs);
    if (!ClipboardUtil::setText(text))
        return;
    QThread::usleep(textBeforePasteUs);
    Win32ApiKey::command_V(*pid);
    if (isEnter)
        Win32ApiKey::enter(*pid);
}

void CopySendUtil::sendQQ(const QString &jsonValue, bool isEnter) {
    const auto pid = activate();
    if (!pid)
        return;
    const auto items = toDataJsonItemArr(jsonValue);
    if (!items)
        return;
    QThread::usleep(beforeLeftUs);
    Win32ApiKey::key_left(*pid);
    QThread::usleep(afterLeftUs);
    if (getImagenameArr(*items)) {
        if (const auto again = toDataJsonItemArr(jsonValue))
            sendPieces(*again, *pid);
    } else {
        const auto text = getStringValue(*items);
        if (!text)
            return;
        if (ClipboardUtil::setText(*text))
            Win32ApiKey::command_V(*pid);
    }
    if (isEnter)
        Win32ApiKey::enter(*pid);
}
