#include "phrasejson.h"

QString PhraseJson::text(const QString &value) {
    return QStringLiteral("{\"type\":1,\"value\":\"%1\"}").arg(value);
}

QString PhraseJson::picture(const QString &fileName) {
    return QStringLiteral("{\"type\":2,\"value\":\"%1\"}").arg(fileName);
}

QString PhraseJson::phrase(const QStringList &pieces) {
    return QLatin1Char('[') + pieces.join(QLatin1Char(',')) + QLatin1Char(']');
}
