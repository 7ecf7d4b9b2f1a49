#pragma once

#include <QMap>
#include <QString>

// The persisted user settings (an INI file, one text per key). The cookie is read from "cookies" but
// written to "m_cookie" on purpose: the sign-in cookie does not survive a restart.
class AppSettings {
public:
    AppSettings();

    QString username;
    QString password;
    QString cookie;

    void setUsername(const QString &uname);
    void setPassword(const QString &pwd);
    // Merges the cookies of a "Set-Cookie" value into the current cookie and stores the result.
    void saveCookie(const QString &cookies);
    void setCookie(const QString &cookie);

    static QString getString(const QString &key);
    static void setString(const QString &key, const QString &v);
    static bool getBool(const QString &key);
    static bool getBool(const QString &key, bool df);
    static void setBool(const QString &key, bool v);

    // $XDG_CONFIG_HOME/quillora/quillora.conf; a file at oldFileName() is moved there on first use.
    static QString fileName();
    static QString oldFileName();

    // The service's base address: QUILLORA_SERVICE_URL, else "serviceUrl", else the build default.
    static QString serviceUrl();

private:
    static QString reloadCookie(const QString &old_cookie, const QString &new_cookie);
    static QMap<QString, QString> cookieStringToList(const QString &s);
    static QString cookieListToString(const QMap<QString, QString> &map);
};
