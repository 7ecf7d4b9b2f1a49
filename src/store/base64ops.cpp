#include "store/base64ops.h"

#include <QStringDecoder>

std::optional<QString> encodeBase64(const QString &s) {
    return QString::fromLatin1(s.toUtf8().toBase64());
}

std::optional<QByteArray> decodeBase64Data(const QString &s) {
    const auto decoded =
        QByteArray::fromBase64Encoding(s.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded || s.size() % 4 != 0)
        return std::nullopt;
    for (QChar c : s)
        if (c.unicode() > 0x7f)
            return std::nullopt;
    return *decoded;
}

std::optional<QString> decodeBase64(const QString &s) {
    const std::optional<QByteArray> bytes = decodeBase64Data(s);
    if (!bytes)
        return std::nullopt;
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = utf8.decode(*bytes);
    if (utf8.hasError())
        return std::nullopt;
    return text;
}
