#include "store/appfileutil.h"

#include "model/logging.h"

#include "store/localpath.h"

#include <QFile>
#include <QSaveFile>

bool AppFileUtil::isPlainFileName(const QString &name) {
    return !name.isEmpty() && name != QLatin1String(".") && name != QLatin1String("..") &&
           !name.contains(QLatin1Char('/')) && !name.contains(QChar(0));
}

namespace {

bool acceptName(const QString &name) {
    if (AppFileUtil::isPlainFileName(name))
        return true;
    qCWarning(lcStore, "picture file name refused: %s", qUtf8Printable(name));
    return false;
}

QString pathOf(const QString &name) {
    return LocalPath::imageDir() + QLatin1Char('/') + name;
}

} // namespace

std::optional<QByteArray> AppFileUtil::readImage(const QString &imageName) {
    if (acceptName(imageName)) {
        QFile file(pathOf(imageName));
        if (file.open(QIODevice::ReadOnly))
            return file.readAll();
    }
    qCWarning(lcStore, "cannot read the picture file %s", qUtf8Printable(imageName));
    return std::nullopt;
}

bool AppFileUtil::saveImage(const QByteArray &data, const QString &imageName) {
    QString error = QStringLiteral("invalid file name");
    if (acceptName(imageName)) {
        QSaveFile file(pathOf(imageName));
        if (file.open(QIODevice::WriteOnly) && file.write(data) == data.size() && file.commit())
            return true;
        error = file.errorString();
    }
    qCWarning(lcStore, "cannot save the picture file %s: %s", qUtf8Printable(imageName),
              qUtf8Printable(error));
    return false;
}

bool AppFileUtil::exist(const QString &imageFilename) {
    return AppFileUtil::isPlainFileName(imageFilename) && QFile::exists(pathOf(imageFilename));
}
