#include "send/deliveryresult.h"

namespace {

struct Texts {
    const char *shown;
    const char *logged;
};

Texts textsOf(DeliveryResult::Reason reason) {
    using R = DeliveryResult::Reason;
    switch (reason) {
    case R::NoTarget:
        return {"没有目标窗口", "no target window"};
    case R::TargetGone:
        return {"目标窗口已关闭", "the target window is gone"};
    case R::NotInFront:
        return {"目标窗口没有回到前台", "the target window did not take the keyboard focus"};
    case R::FocusMoved:
        return {"已切换到其他窗口", "the keyboard focus moved to another window"};
    case R::ModifiersHeld:
        return {"请先松开 Ctrl、Alt、Shift 键", "a modifier key was held"};
    case R::ClipboardBusy:
        return {"剪贴板无法写入", "the clipboard could not be written"};
    case R::NotPasted:
        return {"目标程序没有粘贴内容", "the target did not take the clipboard"};
    case R::Late:
        return {"程序繁忙，未能及时发送", "the send could not start within one second"};
    case R::Quitting:
        return {"程序正在退出", "the program is quitting"};
    }
    return {"", ""};
}

} // namespace

QString DeliveryResult::message() const {
    if (delivered_)
        return notices_.join(QLatin1Char(' '));
    if (piece_ > 0)
        return QString::fromUtf8("未发送：目标程序没有取走第 %1 段（%2），其后的内容和回车已取消")
            .arg(piece_)
            .arg(QString::fromUtf8(picture_ ? "图片" : "文字"));
    return QString::fromUtf8("未发送：") + QString::fromUtf8(textsOf(reason_).shown);
}

QString DeliveryResult::logLine() const {
    QString line = QStringLiteral("send dropped: ") + QString::fromLatin1(textsOf(reason_).logged);
    if (piece_ > 0)
        line += QStringLiteral(" (piece %1 of %2, %3)")
                    .arg(piece_)
                    .arg(pieceCount_)
                    .arg(picture_ ? QStringLiteral("picture") : QStringLiteral("text"));
    return line;
}
