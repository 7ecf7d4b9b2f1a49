#include "cloud/imageutil.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QImage>

ImageUtil::ImageType ImageUtil::typeOf(const QByteArray &data) {
    if (data.isEmpty())
        return ImageType::None;
    switch (quint8(data.at(0))) {
    case 0xFF:
        return ImageType::Jpeg;
    case 0x89:
        return ImageType::Png;
    case 0x47:
        return ImageType::Gif;
    case 0x49:
    case 0x4D:
        return ImageType::Tiff;
    case 0x42:
        return ImageType::Bmp;
    default:
        return ImageType::None; // "R" (WebP) included
    }
}

QString ImageUtil::extensionOf(const QByteArray &data) {
    switch (typeOf(data)) {
    case ImageType::Jpeg:
        return QStringLiteral(".jpg");
    case ImageType::Png:
        return QStringLiteral(".png");
    case ImageType::Gif:
        return QStringLiteral(".gif");
    case ImageType::Bmp:
        return QStringLiteral(".bmp");
    default:
        return {};
    }
}

QString ImageUtil::fileNameOf(const QByteArray &data) {
    const QString extension = extensionOf(data);
    if (extension.isEmpty())
        return QStringLiteral(".jpg");
    return QString::fromLatin1(QCryptographicHash::hash(data, QCryptographicHash::Md5).toHex()) + extension;
}

std::optional<QByteArray> ImageUtil::storable(const QByteArray &data) {
    if (!extensionOf(data).isEmpty())
        return data;
    const QImage image = QImage::fromData(data);
    if (image.isNull())
        return std::nullopt;
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, "PNG"))
        return std::nullopt;
    return png;
}
