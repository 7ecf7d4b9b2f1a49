#include "model/appsettings.h"

#include "model/app.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <QStringList>
#include <iostream>

namespace {

QString configFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
}

// Opened per call: cheap, and safe from any thread. The first call brings over a file that earlier
// builds wrote under another name.
QSettings store() {
    static const QString file = [] {
        const QString path = AppSettings::fileName();
        const QString old = AppSettings::oldFileName();
        if (!QFileInfo::exists(path) && QFileInfo::exists(old)) {
            QDir().mkpath(QFileInfo(path).absolutePath());
            if (QFile::rename(old, path)) {
                std::cout << "settings moved from " << old.toStdString() << " to " << path.toStdString()
                          << std::endl;
                QDir().rmdir(QFileInfo(old).absolutePath()); // only when nothing else is left there
            }
        }
        return path;
    }();
    return QSettings(file, QSettings::IniFormat);
}

} // namespace

QString AppSettings::fileName() {
    return configFolder() + QStringLiteral("/quillora/quillora.conf");
}

QString AppSettings::oldFileName() {
    return configFolder() + QStringLiteral("/Quillora/Quillora.conf");
}

AppSettings &App::setting() {
    static AppSettings shared; // thread-safe one-time initialisation
    return shared;
}

AppSettings::AppSettings()
    : username(getString(QStringLiteral("username"))), password(getString(QStringLiteral("password"))),
      cookie(getString(QStringLiteral("cookies"))) {}

void AppSettings::setUsername(const QString &uname) {
    username = uname;
    setString(QStringLiteral("username"), uname);
}

void AppSettings::setPassword(const QString &pwd) {
    password = pwd;
    setString(QStringLiteral("password"), pwd);
}

void AppSettings::saveCookie(const QString &cookies) {
    setCookie(reloadCookie(cookie, cookies));
}

void AppSettings::setCookie(const QString &c) {
    cookie = c;
    setString(QStringLiteral("m_cookie"), c);
}

QString AppSettings::getString(const QString &key) {
    return store().value(key).toString();
}

void AppSettings::setString(const QString &key, const QString &v) {
    store().setValue(key, v);
}

bool AppSettings::getBool(const QString &key) {
    return getString(key) == QLatin1String("true");
}

bool AppSettings::getBool(const QString &key, bool df) {
    const QVariant v = store().value(key);
    if (!v.isValid())
        return df;
    return v.toString() == QLatin1String("true");
}

void AppSettings::setBool(const QString &key, bool v) {
    setString(key, v ? QStringLiteral("true") : QStringLiteral("false"));
}

QString AppSettings::serviceUrl() {
    QString url = qEnvironmentVariable("QUILLORA_SERVICE_URL");
    if (url.isEmpty())
        url = getString(QStringLiteral("serviceUrl"));
    if (url.isEmpty())
        url = QStringLiteral(QUILLORA_DEFAULT_SERVICE_URL);
    // Paths are appended as they are and all start with "/".
    while (url.endsWith(QLatin1Char('/')))
        url.chop(1);
    return url;
}

QString AppSettings::reloadCookie(const QString &old_cookie, const QString &new_cookie) {
    QMap<QString, QString> merged = cookieStringToList(old_cookie);
    const QMap<QString, QString> fresh = cookieStringToList(new_cookie);
    for (auto it = fresh.cbegin(); it != fresh.cend(); ++it)
        merged.insert(it.key(), it.value());
    return cookieListToString(merged);
}

// Attributes such as Path or Expires are kept as cookies and sent back; pieces are not trimmed.
QMap<QString, QString> AppSettings::cookieStringToList(const QString &s) {
    QMap<QString, QString> map;
    const QStringList pieces = s.split(QLatin1Char(';'), Qt::SkipEmptyParts);
    for (const QString &piece : pieces) {
        if (!piece.contains(QLatin1Char('=')))
            continue;
        const QStringList parts = piece.split(QLatin1Char('='), Qt::SkipEmptyParts);
        // "a=" has no value: nothing to keep.
        if (parts.size() < 2)
            continue;
        map.insert(parts.at(0), parts.at(1));
    }
    return map;
}

QString AppSettings::cookieListToString(const QMap<QString, QString> &map) {
    QString out;
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        out += it.key() + QLatin1Char('=') + it.value() + QLatin1Char(';');
    return out;
}
