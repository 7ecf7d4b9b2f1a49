#include "model/phrase.h"

#include <QJsonValue>

Phrase::Phrase(qint64 id, QString parentSign, QString sign, QString label, QString jsonValue, QString texts,
               QString images, qint64 position, QString username, std::optional<QString> keycode,
               std::optional<QString> bgColor)
    : id(id), parentSign(std::move(parentSign)), sign(std::move(sign)), label(std::move(label)),
      jsonValue(std::move(jsonValue)), content(PhraseContent::fromJson(this->jsonValue)),
      texts(std::move(texts)), images(std::move(images)), position(position), username(std::move(username)),
      keycode(std::move(keycode)), bgColor(std::move(bgColor)) {}

namespace {

void readString(const QJsonObject &o, const char *key, QString &into) {
    const QJsonValue v = o.value(QLatin1String(key));
    if (v.isString())
        into = v.toString();
}

void readInteger(const QJsonObject &o, const char *key, qint64 &into) {
    const QJsonValue v = o.value(QLatin1String(key));
    if (v.isDouble())
        into = v.toInteger();
}

void readOptional(const QJsonObject &o, const char *key, std::optional<QString> &into) {
    const QJsonValue v = o.value(QLatin1String(key));
    if (v.isString())
        into = v.toString();
}

} // namespace

void Phrase::setJsonValue(QString json) {
    jsonValue = std::move(json);
    content = PhraseContent::fromJson(jsonValue);
}

Phrase Phrase::fromJson(const QJsonObject &object) {
    Phrase d;
    readInteger(object, "id", d.id);
    readString(object, "parentSign", d.parentSign);
    readString(object, "sign", d.sign);
    readString(object, "label", d.label);
    QString json;
    readString(object, "jsonValue", json);
    d.setJsonValue(std::move(json));
    readString(object, "texts", d.texts);
    readString(object, "images", d.images);
    readInteger(object, "position", d.position);
    readString(object, "username", d.username);
    readOptional(object, "keycode", d.keycode);
    readOptional(object, "bgColor", d.bgColor);
    return d;
}
