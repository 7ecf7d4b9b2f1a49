#pragma once

#include <QBuffer>
#include <QByteArray>
#include <QColor>
#include <QCryptographicHash>
#include <QImage>
#include <QString>

// A plain picture of one colour, encoded in format.
inline QByteArray picture(int w, int h, QColor color, const char *format = "PNG") {
    QImage image(w, h, QImage::Format_RGB32);
    image.fill(color);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

// The name a stored picture takes: the MD5 of its bytes in hex, then the extension.
inline QString contentName(const QByteArray &data, const char *extension = ".png") {
    return QString::fromLatin1(QCryptographicHash::hash(data, QCryptographicHash::Md5).toHex()) +
           QLatin1String(extension);
}
