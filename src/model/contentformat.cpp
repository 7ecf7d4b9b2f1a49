#include "model/contentformat.h"

#include "model/logging.h"
#include "model/pathops.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

ContentPieces normalizePieces(const ContentPieces &items) {
    ContentPieces result;
    QString text;
    auto flush = [&] {
        if (!text.isEmpty()) {
            result.append(makeContentPiece(ContentPiece::Text, text));
            text.clear();
        }
    };
    for (const ContentPiecePtr &item : items) {
        if (!item)
            continue;
        if (item->type == ContentPiece::Image) {
            flush();
            result.append(item);
        } else if (item->type == ContentPiece::Text) {
            text += item->value;
        }
    }
    flush();
    return result;
}

QString toJsonValue(const ContentPieces &items) {
    QJsonArray array;
    for (const ContentPiecePtr &item : normalizePieces(items)) {
        QJsonObject o;
        o.insert(QLatin1String("type"), qint64(item->type));
        o.insert(QLatin1String("value"), toFilename(item->value));
        array.append(o);
    }
    const QByteArray json = QJsonDocument(array).toJson(QJsonDocument::Compact);
    if (json.isEmpty()) {
        qCWarning(lcStore, "phrase content could not be written as JSON");
        return {};
    }
    return QString::fromUtf8(json);
}

std::optional<QString> getStringValue(const ContentPieces &items) {
    QString text;
    for (const ContentPiecePtr &item : items)
        if (item && item->type == ContentPiece::Text)
            text += item->value;
    if (text.isEmpty())
        return std::nullopt;
    return text;
}

std::optional<QStringList> distinctPictureNames(const ContentPieces &items) {
    QString seen;
    QStringList result;
    for (const ContentPiecePtr &item : items) {
        if (!item || item->type != ContentPiece::Image)
            continue;
        if (!seen.contains(item->value))
            result.append(item->value);
        seen += item->value;
    }
    if (result.isEmpty())
        return std::nullopt;
    return result;
}

std::optional<QStringList> allPictureNames(const ContentPieces &items) {
    QStringList result;
    for (const ContentPiecePtr &item : items)
        if (item && item->type == ContentPiece::Image && !item->value.isEmpty())
            result.append(item->value);
    if (result.isEmpty())
        return std::nullopt;
    return result;
}

std::optional<ContentPieces> parseContent(const QString &jsonValue) {
    QJsonParseError error{};
    const QJsonDocument doc = QJsonDocument::fromJson(jsonValue.toUtf8(), &error);
    if (error.error != QJsonParseError::NoError || !doc.isArray())
        return std::nullopt;
    ContentPieces items;
    const QJsonArray array = doc.array();
    items.reserve(array.size());
    for (const QJsonValue &element : array) {
        if (!element.isObject())
            continue;
        const QJsonObject o = element.toObject();
        auto item = std::make_shared<ContentPiece>();
        if (o.value(QLatin1String("type")).isDouble())
            item->type = long(o.value(QLatin1String("type")).toInteger());
        if (o.value(QLatin1String("value")).isString())
            item->value = o.value(QLatin1String("value")).toString();
        items.append(item);
    }
    return items;
}

QString removeWhitespace(const QString &s) {
    QString r = s;
    r.remove(QLatin1Char(' '));
    r.remove(QLatin1Char('\n'));
    r.remove(QLatin1Char('\r'));
    return r;
}

QString jsonStringToString(const QString &jsonString) {
    const std::optional<ContentPieces> items = parseContent(jsonString);
    if (!items)
        return {};
    return getStringValue(*items).value_or(QString());
}

namespace {

QString imageStringOf(const ContentPieces &items) {
    QString column;
    for (const ContentPiecePtr &item : items) {
        if (!item || item->type != ContentPiece::Image || item->value.isEmpty())
            continue;
        if (!column.contains(item->value))
            column += item->value + QLatin1Char('|');
    }
    return column;
}

} // namespace

QString jsonStringToImageString(const QString &jsonString) {
    const std::optional<ContentPieces> items = parseContent(jsonString);
    if (!items)
        return {};
    return imageStringOf(*items);
}

DerivedColumns jsonStringToColumns(const QString &jsonString) {
    const std::optional<ContentPieces> items = parseContent(jsonString);
    if (!items)
        return {};
    return {getStringValue(*items).value_or(QString()), imageStringOf(*items)};
}
