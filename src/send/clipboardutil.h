#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <optional>
#include <utility>

class DesktopBackend;
class QMimeData;

// The only place where sending touches the clipboard: at any moment it holds one text or one
// picture. Where the back-end serves the clipboard itself it goes there; elsewhere through Qt's
// clipboard, whose work is always done on the GUI thread: a call from another thread (not a pool
// thread) waits for it, at most guiWaitMs, and a GUI thread busy for longer makes the call fail
// instead of the send going on late.
class ClipboardUtil {
public:
    explicit ClipboardUtil(DesktopBackend &desktop) : desktop_(desktop) {}

    // With alsoPrimary the same piece goes on the PRIMARY selection too (Shift+Insert pastes it).
    bool setText(const QString &value, bool alsoPrimary = false);
    // The bytes go on the clipboard as they are, typed "image/png" whatever their real format.
    bool setImage(const QByteArray &data, bool alsoPrimary = false);
    // Whether the clipboard (and PRIMARY, when asked and there is one) still holds the piece set
    // last by setText or setImage, as the display server sees it.
    bool ownsClipboard(bool alsoPrimary = false);

    // Each data type with its bytes.
    using Formats = QList<std::pair<QByteArray, QByteArray>>;
    // Takes a copy of what the clipboard holds (and PRIMARY, with alsoPrimary), in every format it
    // offers, for restore(). More than maxCopyBytes is not copied (and said so in the log).
    // False when nothing could be copied.
    bool save(bool alsoPrimary);
    // Puts the copy back as the agent's own content and forgets it, unless someone else has set
    // the clipboard since the last piece: the agent's new copy wins.
    void restore();

    // The types, with their values, that ask clipboard managers to leave a content out of their
    // history; every piece carries them.
    static const Formats &privateHints();

    static constexpr int guiWaitMs = 1000;
    static constexpr qint64 maxCopyBytes = qint64(64) << 20;

private:
    bool put(QMimeData *data, bool alsoPrimary);

    DesktopBackend &desktop_;
    // What put() set last, compared by address only, on the GUI thread.
    const QMimeData *lastPut_[2] = {nullptr, nullptr};
    // What save() copied, of the clipboard and of PRIMARY.
    std::optional<Formats> saved_[2];
};
