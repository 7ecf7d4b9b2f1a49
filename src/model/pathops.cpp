#include "model/pathops.h"

QString pathExtendName(const QString &path) {
    const qsizetype dot = path.lastIndexOf(QLatin1Char('.'));
    return dot < 0 ? QString() : path.mid(dot);
}

QString pathToDir(const QString &path) {
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    return slash < 0 ? QString() : path.left(slash + 1);
}

QString pathToFilename(const QString &path) {
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    return slash < 0 ? QString() : path.mid(slash + 1);
}

QString toFilename(const QString &path) {
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    return slash < 0 ? path : path.mid(slash + 1);
}

QString pathToFilenameNoEx(const QString &path) {
    const QString name = pathToFilename(path);
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    return dot < 0 ? name : name.left(dot);
}
