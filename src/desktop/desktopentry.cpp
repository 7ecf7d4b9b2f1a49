#include "desktop/desktopentry.h"

#include <QFile>
#include <QStringDecoder>

// Other groups (actions) are skipped.
QHash<QString, QString> DesktopEntry::read(const QString &path) {
    QHash<QString, QString> keys;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return keys;
    QStringDecoder utf8(QStringDecoder::Utf8);
    const QString text = utf8.decode(file.read(1 << 20));
    if (utf8.hasError())
        return keys;
    bool inEntry = false;
    for (QStringView line : QStringView(text).split(u'\n')) {
        line = line.trimmed();
        if (line.isEmpty() || line.startsWith(u'#'))
            continue;
        if (line.startsWith(u'[')) {
            inEntry = line == u"[Desktop Entry]";
            continue;
        }
        const qsizetype eq = line.indexOf(u'=');
        if (!inEntry || eq <= 0)
            continue;
        const QString key = line.left(eq).trimmed().toString();
        if (keys.contains(key))
            continue; // the first of duplicate keys counts
        QString value;
        const QStringView raw = line.mid(eq + 1).trimmed();
        for (qsizetype i = 0; i < raw.size(); ++i) {
            if (raw[i] != u'\\' || i + 1 == raw.size()) {
                value += raw[i];
                continue;
            }
            const QChar c = raw[++i];
            value += c == u's'   ? QChar(u' ')
                     : c == u'n' ? QChar(u'\n')
                     : c == u't' ? QChar(u'\t')
                     : c == u'r' ? QChar(u'\r')
                                 : c;
        }
        keys.insert(key, value);
    }
    return keys;
}
