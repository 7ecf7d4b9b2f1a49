#include "editor/phraseeditor.h"

#include "model/logging.h"

#include "cloud/imageutil.h"
#include "model/pathops.h"
#include "store/localpath.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QMimeData>
#include <QRandomGenerator>
#include <QSaveFile>
#include <QStringDecoder>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextFragment>
#include <QTextImageFormat>
#include <QUrl>
#include <algorithm>

namespace {

const QString pngType = QStringLiteral("image/png");
const QString tiffType = QStringLiteral("image/tiff");

// A run that holds nothing but spaces and tabs says nothing and is dropped.
bool isBlank(const QString &text) {
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c == u' ' || c == u'\t'; });
}

} // namespace

PhraseEditor::PhraseEditor(QWidget *parent) : QTextEdit(parent), imageDir_(LocalPath::imageDir()) {
    // Other programs' rich text would bring pictures that are not in the image folder.
    setAcceptRichText(false);
    // Chinese text and colour emoji come from their own fonts before any other fallback.
    QFont f = font();
    f.setFamilies({f.family(), QStringLiteral("Noto Sans CJK SC"), QStringLiteral("Noto Color Emoji")});
    setFont(f);
    document()->setDocumentMargin(8);
}

QSize PhraseEditor::displaySize(const QSize &imageSize) {
    const qint64 w = imageSize.width();
    const qint64 h = imageSize.height();
    if (w > maxImageWidth)
        return QSize(int(w * maxImageWidth / w), int(h * maxImageWidth / w));
    return QSize(int(w), int(h));
}

PhraseContent PhraseEditor::getValue() const {
    return piecesIn(0, document()->characterCount());
}

PhraseContent PhraseEditor::getSelectValue() const {
    const QTextCursor cursor = textCursor();
    if (!cursor.hasSelection())
        return {};
    return piecesIn(cursor.selectionStart(), cursor.selectionEnd());
}

PhraseContent PhraseEditor::piecesIn(int from, int to) const {
    using Kind = PhraseContent::Piece::Kind;
    QList<PhraseContent::Piece> pieces;
    QString run;
    QTextCharFormat runFormat;
    bool inRun = false;
    const auto flush = [&] {
        if (inRun && !isBlank(run))
            pieces.append({Kind::Text, run});
        run.clear();
        inRun = false;
    };
    const auto extend = [&](const QString &text, const QTextCharFormat &format) {
        // Runs end where the character format changes, like attribute runs.
        if (inRun && format != runFormat)
            flush();
        if (!inRun) {
            inRun = true;
            runFormat = format;
        }
        run += text;
    };

    for (QTextBlock block = document()->begin(); block.isValid() && block.position() < to;
         block = block.next()) {
        if (block.position() + block.length() <= from)
            continue;
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextFragment fragment = it.fragment();
            const int start = std::max(fragment.position(), from);
            const int end = std::min(fragment.position() + fragment.length(), to);
            if (start >= end)
                continue;
            const QString text = fragment.text().mid(start - fragment.position(), end - start);
            const QTextCharFormat format = fragment.charFormat();
            if (format.isImageFormat()) {
                flush();
                const QString name = format.toImageFormat().name().split(nameSeparator).first();
                // Equal neighbouring pictures may share one fragment: one piece per object character.
                for (qsizetype i = 0; i < text.size(); ++i)
                    pieces.append({Kind::Picture, name});
                continue;
            }
            QString plain = text;
            plain.replace(QChar::LineSeparator, u'\n');
            extend(plain, format);
        }
        const int separator = block.position() + block.length() - 1;
        if (block.next().isValid() && separator >= from && separator < to)
            extend(QStringLiteral("\n"), inRun ? runFormat : block.charFormat());
    }
    flush();
    return PhraseContent(pieces);
}

void PhraseEditor::setContent(const PhraseContent &content) {
    insertPieces(content, true);
}

void PhraseEditor::insertContent(const PhraseContent &content) {
    insertPieces(content, false);
}

void PhraseEditor::insertPieces(const PhraseContent &content, bool atEnd) {
    QTextCursor cursor = atEnd ? QTextCursor(document()) : insertionCursor();
    if (atEnd)
        cursor.movePosition(QTextCursor::End);
    cursor.beginEditBlock();
    for (const PhraseContent::Piece &piece : content.pieces()) {
        if (piece.isPicture()) {
            // A picture that cannot be read is left out; the rest of the phrase still loads.
            if (const std::optional<QByteArray> data = readImageData(piece.value))
                insertImageAt(cursor, *data);
        } else {
            insertTextAt(cursor, piece.value);
        }
    }
    cursor.endEditBlock();
    resetTypingFormat();
}

void PhraseEditor::insertString(const QString &value) {
    QTextCursor cursor = insertionCursor();
    insertTextAt(cursor, value);
    ensureCursorVisible();
}

QTextCursor PhraseEditor::insertionCursor() const {
    // Inserting goes before the selection and leaves it: the editor's own cursor moves along with the
    // text, so the same characters stay selected.
    QTextCursor cursor = textCursor();
    cursor.setPosition(cursor.selectionStart());
    return cursor;
}

void PhraseEditor::resetTypingFormat() {
    // Text typed after a picture must not take the picture's format; a selection keeps its own.
    if (!textCursor().hasSelection())
        setCurrentCharFormat(QTextCharFormat());
}

void PhraseEditor::insertTextAt(QTextCursor &cursor, const QString &text) {
    // Plain format: text never inherits a neighbouring picture's format.
    cursor.insertText(text, QTextCharFormat());
}

void PhraseEditor::insertImage(const QByteArray &data) {
    QTextCursor cursor = insertionCursor();
    if (!insertImageAt(cursor, data))
        return;
    resetTypingFormat();
    ensureCursorVisible();
}

void PhraseEditor::appendPicture(const QByteArray &data) {
    QTextCursor cursor(document());
    cursor.movePosition(QTextCursor::End);
    if (insertImageAt(cursor, data))
        resetTypingFormat();
}

bool PhraseEditor::insertImageAt(QTextCursor &cursor, const QByteArray &data) {
    const std::optional<QString> fileName = saveImageToPath(data);
    if (!fileName) {
        qCWarning(lcEditor, "not a picture: nothing inserted");
        return false;
    }
    const QImage image = QImage::fromData(data);
    // The number only keeps two insertions of one picture apart.
    const QString name =
        *fileName + nameSeparator + QString::number(QRandomGenerator::global()->bounded(1, 10000));
    document()->addResource(QTextDocument::ImageResource, QUrl(name), image);
    QTextImageFormat format;
    format.setName(name);
    const QSize size = displaySize(image.size());
    format.setWidth(size.width());
    format.setHeight(size.height());
    cursor.insertImage(format);
    return true;
}

QMimeData *PhraseEditor::createMimeDataFromSelection() const {
    const PhraseContent content = getSelectValue();
    auto *mime = new QMimeData;
    mime->setData(pasteTypeName, content.toJson().toUtf8());
    if (const QString flat = content.compactText(); !flat.isEmpty())
        mime->setText(flat);
    if (const QStringList names = content.distinctPictureNames(); !names.isEmpty()) {
        if (const std::optional<QByteArray> data = readImageData(names.first())) {
            QByteArray png = *data;
            if (ImageUtil::typeOf(png) != ImageUtil::ImageType::Png) {
                // Programs that read the PNG type expect PNG bytes.
                png.clear();
                QBuffer buffer(&png);
                buffer.open(QIODevice::WriteOnly);
                QImage::fromData(*data).save(&buffer, "PNG");
            }
            if (!png.isEmpty())
                mime->setData(pngType, png);
        }
    }
    return mime;
}

std::optional<PhraseContent> PhraseEditor::getClipboardContent(const QMimeData *source) const {
    if (!source->hasFormat(pasteTypeName))
        return std::nullopt;
    const QByteArray bytes = source->data(pasteTypeName);
    QStringDecoder decoder(QStringDecoder::Utf8);
    QString text = decoder.decode(bytes);
    if (decoder.hasError() || text.isEmpty())
        return std::nullopt;
    PhraseContent content = PhraseContent::fromJson(text);
    if (!content.isValid())
        return std::nullopt;
    return content;
}

std::optional<QByteArray> PhraseEditor::getClipboardImageData(const QMimeData *source) const {
    for (const QString &type : {pngType, tiffType}) {
        if (!source->hasFormat(type))
            continue;
        if (std::optional<QByteArray> data = ImageUtil::storable(source->data(type)))
            return data;
    }
    return std::nullopt;
}

QList<QByteArray> PhraseEditor::getFileImageData(const QMimeData *source) const {
    QList<QByteArray> pictures;
    if (!source->hasUrls())
        return pictures;
    for (const QUrl &url : source->urls()) {
        if (!url.isLocalFile())
            continue;
        QFile file(url.toLocalFile());
        if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly))
            continue;
        if (std::optional<QByteArray> data = ImageUtil::storable(file.readAll()))
            pictures.append(*data);
    }
    return pictures;
}

bool PhraseEditor::canInsertFromMimeData(const QMimeData *source) const {
    return source->hasFormat(pasteTypeName) || source->hasFormat(pngType) || source->hasFormat(tiffType) ||
           source->hasUrls() || QTextEdit::canInsertFromMimeData(source);
}

void PhraseEditor::insertFromMimeData(const QMimeData *source) {
    // Unlike inserting an emoji or a picture, a paste replaces the selection, and a copy with nothing
    // selected leaves the clipboard as it was: what every Linux text field does.
    if (const std::optional<PhraseContent> content = getClipboardContent(source)) {
        textCursor().removeSelectedText();
        insertContent(*content);
    } else if (const std::optional<QByteArray> picture = getClipboardImageData(source)) {
        textCursor().removeSelectedText();
        insertImage(*picture);
    } else if (const QList<QByteArray> files = getFileImageData(source); !files.isEmpty()) {
        textCursor().removeSelectedText();
        for (const QByteArray &data : files)
            insertImage(data);
    } else {
        QTextEdit::insertFromMimeData(source);
    }
    ensureCursorVisible();
}

std::optional<QString> PhraseEditor::saveImageToPath(const QByteArray &data) {
    const QString extension = ImageUtil::extensionOf(data);
    const QString fileName = ImageUtil::fileNameOf(data);
    if (extension.isEmpty() || fileName.isEmpty() || QImage::fromData(data).isNull())
        return std::nullopt;
    // The name comes from the content: a file of that name already holds these bytes.
    if (!exist(fileName) && !saveImage(data, fileName))
        return std::nullopt;
    return fileName;
}

bool PhraseEditor::saveImage(const QByteArray &data, const QString &imageFileName) {
    QDir().mkpath(imageDir_);
    QSaveFile file(pathOf(imageFileName));
    if (file.open(QIODevice::WriteOnly) && file.write(data) == data.size() && file.commit())
        return true;
    qCWarning(lcEditor, "cannot save the picture file: %s", qUtf8Printable(file.errorString()));
    return false;
}

std::optional<QByteArray> PhraseEditor::readImageData(const QString &imageName) const {
    QFile file(pathOf(imageName));
    if (!file.open(QIODevice::ReadOnly)) {
        qCWarning(lcEditor, "cannot read the picture file");
        return std::nullopt;
    }
    return file.readAll();
}

bool PhraseEditor::exist(const QString &imageFilename) const {
    return QFileInfo::exists(pathOf(imageFilename));
}

QString PhraseEditor::pathOf(const QString &imageName) const {
    return imageDir_ + QLatin1Char('/') + toFilename(imageName);
}
