#include "model/phraselistreply.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

std::optional<PhraseListReply> PhraseListReply::fromText(const QByteArray &text) {
    QJsonParseError error{};
    const QJsonDocument doc = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError || !doc.isObject())
        return std::nullopt;
    const QJsonObject o = doc.object();
    PhraseListReply r;
    if (o.value(QLatin1String("state")).isDouble())
        r.state = o.value(QLatin1String("state")).toInt();
    if (o.value(QLatin1String("msg")).isString())
        r.msg = o.value(QLatin1String("msg")).toString();
    const QJsonArray data = o.value(QLatin1String("data")).toArray();
    r.data.reserve(data.size());
    for (const QJsonValue &v : data)
        if (v.isObject())
            r.data.append(Phrase::fromJson(v.toObject()));
    return r;
}
