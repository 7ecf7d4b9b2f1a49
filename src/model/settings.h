#pragma once

#include <QObject>
#include <QString>
#include <QVariant>

// The user's settings: one INI file, $XDG_CONFIG_HOME/quillora/quillora.conf, each key once below
// with its type and default. Values are read from the file on every call, so another instance's
// writes are seen. Every write through this object emits changed(key).
//
// The cookie is read from "cookies" but written to "m_cookie" on purpose: the sign-in cookie does
// not survive a restart.
class Settings : public QObject {
    Q_OBJECT
public:
    // The default file; one left at oldFileName() by earlier builds is moved there first.
    explicit Settings(QObject *parent = nullptr);
    // Another file, for tests; no migration.
    explicit Settings(QString fileName, QObject *parent = nullptr);

    static QString defaultFileName();
    static QString oldFileName();
    const QString &fileName() const { return fileName_; }

    static inline const QString usernameKey = QStringLiteral("username");
    static inline const QString passwordKey = QStringLiteral("password");
    static inline const QString rememberPasswordKey = QStringLiteral("pwd_check");
    static inline const QString cookieKey = QStringLiteral("cookies");
    static inline const QString savedCookieKey = QStringLiteral("m_cookie");
    static inline const QString serviceUrlKey = QStringLiteral("serviceUrl");
    static inline const QString quickBarShortcutsKey = QStringLiteral("quickBarShortcuts");
    static inline const QString quickBarPositionKey = QStringLiteral("quickBarPosition");
    static inline const QString paletteShortcutKey = QStringLiteral("paletteShortcut");
    static inline const QString sendPauseModeKey = QStringLiteral("sendPauseMode");
    static inline const QString restoreClipboardKey = QStringLiteral("restoreClipboard");
    static inline const QString pasteKeysGroup = QStringLiteral("pasteKeys");
    static inline const QString restoreTokenKey = QStringLiteral("remoteDesktopRestoreToken");

    // The last account signed in, and its password when the user asked to remember it.
    QString username() const { return text(usernameKey); }
    void setUsername(const QString &value) { setText(usernameKey, value); }
    QString password() const { return text(passwordKey); }
    void setPassword(const QString &value) { setText(passwordKey, value); }
    // Stored as "true"/"false"; false when missing.
    bool rememberPassword() const { return flag(rememberPasswordKey, false); }
    void setRememberPassword(bool value) { setFlag(rememberPasswordKey, value); }

    // The session cookie sent with every request: what "cookies" held at start, then what the
    // service set since.
    const QString &cookie() const { return cookie_; }
    void setCookie(const QString &value);
    // Merges the cookies of a "Set-Cookie" value into the current cookie and stores the result.
    void mergeCookie(const QString &setCookie);
    // Empties the stored cookie only; the current one still goes out until replaced.
    void clearStoredCookie() { setText(savedCookieKey, QString()); }

    // The service's base address: QUILLORA_SERVICE_URL, else "serviceUrl", else the build default,
    // without a trailing "/".
    QString serviceUrl() const;

    // The quick bar's shortcut modifiers ("Ctrl+Alt" style; empty for the default) and its last
    // position ("x,y"; empty when never moved).
    QString quickBarShortcuts() const { return text(quickBarShortcutsKey); }
    void setQuickBarShortcuts(const QString &value) { setText(quickBarShortcutsKey, value); }
    QString quickBarPosition() const { return text(quickBarPositionKey); }
    void setQuickBarPosition(const QString &value) { setText(quickBarPositionKey, value); }
    // The keyboard palette's global shortcut on X11 ("Ctrl+Shift+Space" style); empty, the default,
    // for none.
    QString paletteShortcut() const { return text(paletteShortcutKey); }
    void setPaletteShortcut(const QString &value) { setText(paletteShortcutKey, value); }

    // "fixed" for fixed pauses between the pieces of a send; anything else adapts to the target.
    QString sendPauseMode() const { return text(sendPauseModeKey); }
    void setSendPauseMode(const QString &value) { setText(sendPauseModeKey, value); }
    // Whether a send puts back what the clipboard held before it; true when missing.
    bool restoreClipboard() const { return flag(restoreClipboardKey, true); }
    void setRestoreClipboard(bool value) { setFlag(restoreClipboardKey, value); }
    // The paste stroke configured for a program identifier ("pasteKeys/<identifier>"); empty when none.
    QString pasteKeys(const QString &identifier) const { return text(pasteKeysGroup + '/' + identifier); }
    void setPasteKeys(const QString &identifier, const QString &value) {
        setText(pasteKeysGroup + '/' + identifier, value);
    }

    // The remote desktop portal's restore token, so that its dialog is not shown on every start.
    QString restoreToken() const { return text(restoreTokenKey); }
    void setRestoreToken(const QString &value) { setText(restoreTokenKey, value); }

Q_SIGNALS:
    void changed(const QString &key);

private:
    QString text(const QString &key) const;
    void setText(const QString &key, const QString &value);
    bool flag(const QString &key, bool fallback) const;
    void setFlag(const QString &key, bool value);

    QString fileName_;
    QString cookie_;
};
