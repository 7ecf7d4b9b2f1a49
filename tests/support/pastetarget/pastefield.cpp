#include "pastefield.h"

#include <QApplication>
#include <QImage>
#include <QKeyEvent>
#include <QMimeData>
#include <QThread>
#include <QTimer>
#include <time.h>

PasteField::PasteField(const QString &logPath, bool stamp, Behaviour behaviour, QWidget *parent)
    : QLineEdit(parent), log_(logPath), stamp_(stamp), behaviour_(behaviour) {
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

void PasteField::logPaste(QClipboard::Mode mode) {
    const QMimeData *data = QApplication::clipboard()->mimeData(mode);
    if (!data) {
        log(QStringLiteral("paste empty"));
        return;
    }
    const QString types = data->formats().join(QLatin1Char(','));
    if (behaviour_.textOnly && !data->hasText()) {
        log(QStringLiteral("paste nothing types=%1").arg(types));
        return;
    }
    if (data->hasFormat(QStringLiteral("image/png")) && !behaviour_.textOnly) {
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

void PasteField::paste(QClipboard::Mode mode) {
    if (behaviour_.asyncMs >= 0) {
        QTimer::singleShot(behaviour_.asyncMs, this, [this, mode] { logPaste(mode); });
        return;
    }
    if (behaviour_.rereadMs >= 0) {
        if (const QMimeData *first = QApplication::clipboard()->mimeData(mode)) {
            for (const QString &format : first->formats())
                first->data(format);
        }
        // Busy: keys typed meanwhile wait in the queue, as they do for a page's handler.
        QThread::msleep(ulong(behaviour_.rereadMs));
    }
    logPaste(mode);
}

void PasteField::keyPressEvent(QKeyEvent *event) {
    if (behaviour_.terminal) {
        const auto mods = event->modifiers() & (Qt::ControlModifier | Qt::ShiftModifier);
        if (event->key() == Qt::Key_V && mods == Qt::ControlModifier) {
            log(QStringLiteral("control ^V"));
            return;
        }
        if (event->key() == Qt::Key_V && mods == (Qt::ControlModifier | Qt::ShiftModifier)) {
            paste(QClipboard::Clipboard);
            return;
        }
        if (event->key() == Qt::Key_Insert && mods == Qt::ShiftModifier) {
            paste(QClipboard::Selection);
            return;
        }
    } else if (event->matches(QKeySequence::Paste)) {
        paste(QClipboard::Clipboard);
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
