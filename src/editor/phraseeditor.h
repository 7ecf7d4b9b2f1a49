#pragma once

#include "model/phrasecontent.h"

#include <QByteArray>
#include <QSize>
#include <QString>
#include <QTextEdit>
#include <optional>

class QMimeData;

// The phrase editor: text with pictures between the words, read and written as phrase content.
class PhraseEditor : public QTextEdit {
    Q_OBJECT
public:
    // The private clipboard type of the editor's own copy: the selection as jsonValue text (UTF-8).
    static inline const QString pasteTypeName = QStringLiteral("com.quillora.copy");
    // Separates a picture's file name from the random number that keeps two insertions apart.
    static inline const QString nameSeparator = QStringLiteral("]-[");
    // Pictures wider than this are shown scaled down to it.
    static constexpr int maxImageWidth = 200;

    explicit PhraseEditor(QWidget *parent = nullptr);

    PhraseContent getValue() const;
    PhraseContent getSelectValue() const;
    void setContent(const PhraseContent &content);
    void insertContent(const PhraseContent &content);
    void insertString(const QString &value);
    void insertImage(const QByteArray &data);
    // Appends at the end.
    void appendPicture(const QByteArray &data);

    // On-screen size of a picture of the given pixel size.
    static QSize displaySize(const QSize &imageSize);

    const QString &imageDir() const { return imageDir_; }

protected:
    QMimeData *createMimeDataFromSelection() const override;
    bool canInsertFromMimeData(const QMimeData *source) const override;
    void insertFromMimeData(const QMimeData *source) override;

private:
    PhraseContent piecesIn(int from, int to) const;
    void insertPieces(const PhraseContent &content, bool atEnd);
    // A cursor at the start of the selection, without the selection.
    QTextCursor insertionCursor() const;
    void resetTypingFormat();
    void insertTextAt(QTextCursor &cursor, const QString &text);
    bool insertImageAt(QTextCursor &cursor, const QByteArray &data);

    std::optional<PhraseContent> getClipboardContent(const QMimeData *source) const;
    std::optional<QByteArray> getClipboardImageData(const QMimeData *source) const;
    QList<QByteArray> getFileImageData(const QMimeData *source) const;

    std::optional<QString> saveImageToPath(const QByteArray &data);
    bool saveImage(const QByteArray &data, const QString &imageFileName);
    std::optional<QByteArray> readImageData(const QString &imageName) const;
    bool exist(const QString &imageFilename) const;
    QString pathOf(const QString &imageName) const;

    QString imageDir_;
};
