#include "store/localpath.h"

#include "model/logging.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

QString LocalPath::home() {
    const QByteArray overridden = qgetenv("QUILLORA_HOME");
    QString dir = overridden.isEmpty() ? QStandardPaths::writableLocation(QStandardPaths::AppDataLocation)
                                       : QString::fromLocal8Bit(overridden);
    while (dir.size() > 1 && dir.endsWith(QLatin1Char('/')))
        dir.chop(1);
    return dir;
}

const QString &LocalPath::imageDir() {
    static const QString dir = home() + QStringLiteral("/appData/image");
    return dir;
}

const QString &LocalPath::sqliteDir() {
    static const QString dir = home() + QStringLiteral("/appData/database");
    return dir;
}

const QString &LocalPath::tempDir() {
    static const QString dir = home() + QStringLiteral("/appData/temp");
    return dir;
}

void LocalPath::initDirs() {
    createDir(imageDir());
    createDir(sqliteDir());
    createDir(tempDir());
}

void LocalPath::createDir(const QString &dirPath) {
    if (QFileInfo(dirPath).isDir())
        return;
    if (!QDir().mkpath(dirPath))
        qCWarning(lcStore, "cannot create the folder %s", qUtf8Printable(dirPath));
}
