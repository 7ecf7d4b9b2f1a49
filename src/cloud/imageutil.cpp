#include "cloud/imageutil.h"

#include <QCryptographicHash>

ImageUtil::imageType ImageUtil::contentTypeForImageData(const QByteArray &data) {
    if (data.isEmpty())
        return imageType::None;
    switch (quint8(data.at(0))) {
    case 0xFF:
        return imageType::JPG;
    case 0x89:
        return imageType::PNG;
    case 0x47:
        return imageType::gif;
    case 0x49:
    case 0x4D:
        return imageType::Tiff;
    case 0x42:
        return imageType::bmp;
    default:
        return imageType::None; // "R" (WebP) included
    }
}

QString ImageUtil::getRealExtensionName(const QByteArray &data) {
    switch (contentTypeForImageData(data)) {
    case imageType::JPG:
        return QStringLiteral(".jpg");
    case imageType::PNG:
        return QStringLiteral(".png");
    case imageType::gif:
        return QStringLiteral(".gif");
    case imageType::bmp:
        return QStringLiteral(".bmp");
    default:
        return {};
    }
}

QString ImageUtil::getImageRealFilename(const QByteArray &data) {
    const QString extension = getRealExtensionName(data);
    if (extension.isEmpty())
        return QStringLiteral(".jpg");
    return QString::fromLatin1(QCryptographicHash::hash(data, QCryptographicHash::Md5).toHex()) + extension;
}
