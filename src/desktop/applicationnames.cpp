#include "desktop/applicationnames.h"

#include "desktop/desktopentry.h"

#include <QDirIterator>
#include <QMap>
#include <QStandardPaths>

namespace {

// Desktop file ids: the path below applications/ with '/' as '-', minus ".desktop"; the first folder
// in XDG order wins.
QMap<QString, QString> desktopFiles() {
    QMap<QString, QString> files;
    for (const QString &dir : QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation)) {
        QDirIterator it(dir, {QStringLiteral("*.desktop")}, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            QString id = path.mid(dir.size() + 1);
            id.chop(8);
            id.replace(u'/', u'-');
            if (!files.contains(id))
                files.insert(id, path);
        }
    }
    return files;
}

// Locale names to try in order for Name[...] (for zh_CN.UTF-8: zh_CN, zh), from the environment.
QStringList languages() {
    // LANGUAGE lists preferences; the message locale is LC_ALL, else LC_MESSAGES, else LANG.
    QStringList locales = qEnvironmentVariable("LANGUAGE").split(u':', Qt::SkipEmptyParts);
    for (const char *variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (const QString value = qEnvironmentVariable(variable); !value.isEmpty()) {
            locales.append(value);
            break;
        }
    }
    QStringList result;
    for (const QString &locale : locales) {
        // lang_COUNTRY.ENCODING@MODIFIER: try lang_COUNTRY@MODIFIER, lang_COUNTRY, lang@MODIFIER, lang.
        const QString modifier = locale.section(u'@', 1);
        const QString base = locale.section(u'@', 0, 0).section(u'.', 0, 0);
        const QString lang = base.section(u'_', 0, 0);
        if (lang.isEmpty() || lang == QLatin1String("C") || lang == QLatin1String("POSIX"))
            continue;
        QStringList tries;
        if (!modifier.isEmpty())
            tries << base + u'@' + modifier;
        tries << base;
        if (!modifier.isEmpty())
            tries << lang + u'@' + modifier;
        tries << lang;
        for (const QString &t : tries)
            if (!result.contains(t))
                result.append(t);
    }
    return result;
}

// The Name of a desktop entry file in the user's language; empty when the file is not an
// application entry or is marked deleted (Hidden).
QString nameInFile(const QString &path) {
    if (path.isEmpty())
        return {};
    const QHash<QString, QString> keys = DesktopEntry::read(path);
    if (keys.value(QStringLiteral("Type")) != QLatin1String("Application") ||
        keys.value(QStringLiteral("Hidden")) == QLatin1String("true"))
        return {};
    for (const QString &language : languages())
        if (const QString name = keys.value(QStringLiteral("Name[%1]").arg(language)); !name.isEmpty())
            return name;
    return keys.value(QStringLiteral("Name"));
}

QString findEntryName(const QString &applicationId) {
    const QMap<QString, QString> files = desktopFiles();
    // The entry of that id; else one whose StartupWMClass is it; else an id that differs only in case;
    // else, for a class such as "Mousepad", a reverse-domain id ending in it ("org.xfce.mousepad").
    if (const QString name = nameInFile(files.value(applicationId)); !name.isEmpty())
        return name;
    QString byClass, byCaseless, byLastPart;
    for (auto it = files.constBegin(); it != files.constEnd(); ++it) {
        const QString &id = it.key();
        QString *match = nullptr;
        if (byClass.isEmpty() &&
            DesktopEntry::read(it.value()).value(QStringLiteral("StartupWMClass")) == applicationId)
            match = &byClass;
        else if (byCaseless.isEmpty() && id.compare(applicationId, Qt::CaseInsensitive) == 0)
            match = &byCaseless;
        else if (byLastPart.isEmpty() &&
                 id.section(u'.', -1).compare(applicationId, Qt::CaseInsensitive) == 0)
            match = &byLastPart;
        if (match)
            *match = nameInFile(it.value());
    }
    return !byClass.isEmpty() ? byClass : !byCaseless.isEmpty() ? byCaseless : byLastPart;
}

} // namespace

QString ApplicationNames::entryName(const QString &applicationId) {
    if (applicationId.isEmpty())
        return {};
    auto found = cache_.constFind(applicationId);
    if (found == cache_.constEnd())
        found = cache_.insert(applicationId, findEntryName(applicationId));
    return *found;
}

QString ApplicationNames::displayName(const RunningApplication &application) {
    if (!application.appId || application.appId->isEmpty())
        return application.title;
    const QString name = entryName(*application.appId);
    return name.isEmpty() ? *application.appId : name;
}
