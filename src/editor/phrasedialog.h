#pragma once

#include "editor/pictureuploaddialog.h"
#include "model/result.h"

#include <QDialog>
#include <QPointer>

class CloudClient;
class PhraseEditor;
class QFormLayout;
class QFrame;
class QLineEdit;
class QPushButton;
class EmojiPicker;

// What the add and edit phrase dialogs share: label field, editor, emoji and picture buttons, and
// the save that puts the pictures on the service before the phrase itself is written.
class PhraseDialog : public QDialog {
    Q_OBJECT
public:
    QLineEdit *labelViewBox;
    PhraseEditor *textView;
    QPushButton *saveButton;
    QPushButton *cancelButton;
    QPushButton *emojiButton;
    QPushButton *openPictureButton;

    void saveClicked();
    void cancelClicked();
    void emojiClicked();
    void openPictureClicked();
    // Reads a picture file and inserts it; an unknown picture type is refused with a message box.
    void insertImageFile(const QString &path);

    // Puts a picked emoji at the cursor.
    void insertEmoji(const QString &value);

    // What the editor holds, normalised.
    PhraseContent content() const;
    // The upload dialog of a save in progress, if any.
    PictureUploadDialog *uploadDialog() const { return upload_; }
    EmojiPicker *emojiPicker() const { return emojis_; }

protected:
    // cloud: where the pictures go before the phrase is written.
    PhraseDialog(CloudClient &cloud, const QString &title, QWidget *parent);

    // Writes the phrase once its pictures are on the service; calls savedWith() with the outcome.
    virtual void writePhrase() = 0;
    void savedWith(const Result<void> &result);

    QFormLayout *fields;

private:
    void uploaded(const Result<void> &result);

    CloudClient &cloud_;
    QPointer<PictureUploadDialog> upload_;
    QFrame *emojiPopup_ = nullptr;
    EmojiPicker *emojis_ = nullptr;
};
