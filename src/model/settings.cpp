#include "model/settings.h"

#include "model/logging.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QSettings>
#include <QStandardPaths>

namespace {

QString configFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
}

// Brings over a file that earlier builds wrote under another name.
QString migrated(const QString &path, const QString &old) {
    if (!QFileInfo::exists(path) && QFileInfo::exists(old)) {
        QDir().mkpath(QFileInfo(path).absolutePath());
        if (QFile::rename(old, path)) {
            qCInfo(lcApp, "settings moved from %s to %s", qUtf8Printable(old), qUtf8Printable(path));
            QDir().rmdir(QFileInfo(old).absolutePath()); // only when nothing else is left there
        }
    }
    return path;
}

// Attributes such as Path or Expires are kept as cookies and sent back; pieces are not trimmed, and
// "a=" has no value: nothing to keep.
QMap<QString, QString> cookiesOf(const QString &s) {
    QMap<QString, QString> map;
    for (const QString &piece : s.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
        const QStringList parts = piece.split(QLatin1Char('='), Qt::SkipEmptyParts);
        if (piece.contains(QLatin1Char('=')) && parts.size() >= 2)
            map.insert(parts.at(0), parts.at(1));
    }
    return map;
}

} // namespace

Settings::Settings(QObject *parent) : Settings(migrated(defaultFileName(), oldFileName()), parent) {}

Settings::Settings(QString fileName, QObject *parent) : QObject(parent), fileName_(std::move(fileName)) {
    cookie_ = text(cookieKey);
}

QString Settings::defaultFileName() {
    return configFolder() + QStringLiteral("/quillora/quillora.conf");
}

QString Settings::oldFileName() {
    return configFolder() + QStringLiteral("/Quillora/Quillora.conf");
}

// Opened per call: cheap, and safe from any thread.
QString Settings::text(const QString &key) const {
    return QSettings(fileName_, QSettings::IniFormat).value(key).toString();
}

void Settings::setText(const QString &key, const QString &value) {
    QSettings(fileName_, QSettings::IniFormat).setValue(key, value);
    Q_EMIT changed(key);
}

bool Settings::flag(const QString &key, bool fallback) const {
    const QVariant v = QSettings(fileName_, QSettings::IniFormat).value(key);
    return v.isValid() ? v.toString() == QLatin1String("true") : fallback;
}

void Settings::setFlag(const QString &key, bool value) {
    setText(key, value ? QStringLiteral("true") : QStringLiteral("false"));
}

void Settings::setCookie(const QString &value) {
    cookie_ = value;
    setText(savedCookieKey, value);
}

void Settings::mergeCookie(const QString &setCookie) {
    QMap<QString, QString> merged = cookiesOf(cookie_);
    const QMap<QString, QString> fresh = cookiesOf(setCookie);
    for (auto it = fresh.cbegin(); it != fresh.cend(); ++it)
        merged.insert(it.key(), it.value());
    QString out;
    for (auto it = merged.cbegin(); it != merged.cend(); ++it)
        out += it.key() + QLatin1Char('=') + it.value() + QLatin1Char(';');
    this->setCookie(out);
}

QString Settings::serviceUrl() const {
    QString url = qEnvironmentVariable("QUILLORA_SERVICE_URL");
    if (url.isEmpty())
        url = text(serviceUrlKey);
    if (url.isEmpty())
        url = QStringLiteral(QUILLORA_DEFAULT_SERVICE_URL);
    // Paths are appended as they are and all start with "/".
    while (url.endsWith(QLatin1Char('/')))
        url.chop(1);
    return url;
}
