#include "store/appfileutil.h"

#include "store/localpath.h"

#include <QFile>
#include <QSaveFile>
#include <iostream>

bool AppFileUtil::isPlainFileName(const QString &name) {
    return !name.isEmpty() && name != QLatin1String(".") && name != QLatin1String("..") &&
           !name.contains(QLatin1Char('/')) && !name.contains(QChar(0));
}

namespace {

bool acceptName(const QString &name) {
    if (AppFileUtil::isPlainFileName(name))
        return true;
    std::cout << "图片文件名无效，已拒绝: " << name.toStdString() << std::endl;
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
    std::cout << "ERROR XC9900EFF 读取图片文件失败" << std::endl;
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
    std::cout << "ERROR XD8V9DFF 存储图片文件失败 " << std::endl << error.toStdString() << std::endl;
    return false;
}

bool AppFileUtil::exist(const QString &imageFilename) {
    return AppFileUtil::isPlainFileName(imageFilename) && QFile::exists(pathOf(imageFilename));
}
