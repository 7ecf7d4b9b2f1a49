#pragma once

#include <QByteArray>
#include <QString>

// Picture names: the MD5 of the bytes and an extension found from the first byte.
class ImageUtil {
public:
    ImageUtil() = delete;

    enum class imageType { JPG, PNG, Tiff, gif, webp, bmp, None };

    // WebP ("R") is never recognised although the case exists.
    static imageType contentTypeForImageData(const QByteArray &data);
    // Empty for Tiff, webp and None.
    static QString getRealExtensionName(const QByteArray &data);
    // Without an extension the name is exactly ".jpg", with no digest: every unknown picture shares it.
    static QString getImageRealFilename(const QByteArray &data);
};
