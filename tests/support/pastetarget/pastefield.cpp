#include "pastefield.h"

#include <QApplication>
#include <QClipboard>
#include <QImage>
#include <QKeyEvent>
#include <QMimeData>
#include <time.h>

PasteField::PasteField(const QString &logPath, bool stamp, QWidget *parent)
    : QLineEdit(parent), log_(logPath), stamp_(stamp) {
    if (!log_.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text))
        qFatal("pastetarget: cannot open the log %s", qPrintable(logPath));
}

void PasteField::log(const QString &line) {
    QByteArray out;
    if (stamp_) {
        // Monotonic microseconds, comparable with the sender's clock on the same machine.
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        out = QByteArray::number(qint64(now.tv_sec) * 1000000 + now.tv_nsec / 1000) + ' ';
    }
    out += line.toUtf8() + '\n';
    log_.write(out);
    log_.flush();
}

void PasteField::logPaste() {
    const QMimeData *data = QApplication::clipboard()->mimeData();
    if (!data) {
        log(QStringLiteral("paste empty"));
        return;
    }
    const QString types = data->formats().join(QLatin1Char(','));
    if (data->hasFormat(QStringLiteral("image/png"))) {
        const QByteArray bytes = data->data(QStringLiteral("image/png"));
        const QImage image = QImage::fromData(bytes);
        log(QStringLiteral("paste types=%1 image=%2x%3 bytes=%4")
                .arg(types)
                .arg(image.width())
                .arg(image.height())
                .arg(bytes.size()));
        return;
    }
    QString text = data->text();
    insert(text);
    text.replace(QLatin1Char('\\'), QLatin1String("\\\\")).replace(QLatin1Char('\n'), QLatin1String("\\n"));
    log(QStringLiteral("paste types=%1 text=%2").arg(types, text));
}

void PasteField::keyPressEvent(QKeyEvent *event) {
    if (event->matches(QKeySequence::Paste)) {
        logPaste();
        return;
    }
    if (event->key() == Qt::Key_Enter)
        log(QStringLiteral("enter keypad"));
    else if (event->key() == Qt::Key_Return)
        log(QStringLiteral("enter return"));
    else if (event->key() == Qt::Key_Left)
        log(QStringLiteral("left"));
    QLineEdit::keyPressEvent(event);
}
