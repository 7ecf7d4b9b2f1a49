#include "model/phrasecontent.h"

#include "model/logging.h"
#include "model/pathops.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

constexpr qint64 textType = 1;
constexpr qint64 pictureType = 2;

} // namespace

PhraseContent PhraseContent::fromJson(const QString &json) {
    PhraseContent content;
    QJsonParseError error{};
    const QJsonDocument doc = QJsonDocument::fromJson(json.toUtf8(), &error);
    if (error.error != QJsonParseError::NoError || !doc.isArray()) {
        content.valid_ = false;
        return content;
    }
    const QJsonArray array = doc.array();
    content.pieces_.reserve(array.size());
    for (const QJsonValue &element : array) {
        if (!element.isObject())
            continue;
        const QJsonObject o = element.toObject();
        const QJsonValue type = o.value(QLatin1String("type"));
        const QJsonValue value = o.value(QLatin1String("value"));
        const qint64 kind = type.isDouble() ? type.toInteger() : 0;
        if (kind != textType && kind != pictureType)
            continue;
        content.pieces_.append({kind == textType ? Piece::Kind::Text : Piece::Kind::Picture,
                                value.isString() ? value.toString() : QString()});
    }
    return content;
}

QString PhraseContent::toJson() const {
    QJsonArray array;
    const PhraseContent pieces = normalized();
    for (const Piece &piece : pieces.pieces_) {
        QJsonObject o;
        o.insert(QLatin1String("type"), piece.isText() ? textType : pictureType);
        o.insert(QLatin1String("value"), toFilename(piece.value));
        array.append(o);
    }
    const QByteArray json = QJsonDocument(array).toJson(QJsonDocument::Compact);
    if (json.isEmpty()) {
        qCWarning(lcStore, "phrase content could not be written as JSON");
        return {};
    }
    return QString::fromUtf8(json);
}

PhraseContent PhraseContent::normalized() const {
    PhraseContent result;
    QString text;
    auto flush = [&] {
        if (!text.isEmpty()) {
            result.pieces_.append({Piece::Kind::Text, text});
            text.clear();
        }
    };
    for (const Piece &piece : pieces_) {
        if (piece.isPicture()) {
            flush();
            result.pieces_.append(piece);
        } else {
            text += piece.value;
        }
    }
    flush();
    return result;
}

std::optional<QString> PhraseContent::joinedText() const {
    QString text;
    for (const Piece &piece : pieces_)
        if (piece.isText())
            text += piece.value;
    if (text.isEmpty())
        return std::nullopt;
    return text;
}

QString PhraseContent::compactText() const {
    QString text = joinedText().value_or(QString());
    text.remove(QLatin1Char(' '));
    text.remove(QLatin1Char('\n'));
    text.remove(QLatin1Char('\r'));
    return text;
}

QStringList PhraseContent::distinctPictureNames() const {
    QString seen;
    QStringList result;
    for (const Piece &piece : pieces_) {
        if (!piece.isPicture())
            continue;
        if (!seen.contains(piece.value))
            result.append(piece.value);
        seen += piece.value;
    }
    return result;
}

QStringList PhraseContent::allPictureNames() const {
    QStringList result;
    for (const Piece &piece : pieces_)
        if (piece.isPicture() && !piece.value.isEmpty())
            result.append(piece.value);
    return result;
}

QString PhraseContent::imagesColumn() const {
    QString column;
    for (const Piece &piece : pieces_) {
        if (!piece.isPicture() || piece.value.isEmpty())
            continue;
        if (!column.contains(piece.value))
            column += piece.value + QLatin1Char('|');
    }
    return column;
}
