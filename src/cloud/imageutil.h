#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

// Picture names: the MD5 of the bytes and an extension found from the first byte.
namespace ImageUtil {

enum class ImageType { Jpeg, Png, Tiff, Gif, Webp, Bmp, None };

// WebP ("R") is never recognised although the case exists.
ImageType typeOf(const QByteArray &data);
// Empty for Tiff, webp and None.
QString extensionOf(const QByteArray &data);
// Without an extension the name is exactly ".jpg", with no digest: every unknown picture shares it.
QString fileNameOf(const QByteArray &data);
// The bytes to keep and upload: a picture the service names by digest as it is; any other
// picture Qt can read (WebP, TIFF, ...) re-encoded as PNG; absent when it is no picture.
std::optional<QByteArray> storable(const QByteArray &data);

} // namespace ImageUtil
