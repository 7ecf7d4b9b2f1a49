#pragma once

#include "editor/control_emojis_delegate.h"
#include "editor/control_upimage.h"
#include "model/dataresult.h"

#include <QDialog>
#include <QPointer>

class EditTextView;
class QFormLayout;
class QFrame;
class QLineEdit;
class QPushButton;
class control_emojis;

// What the add and edit phrase dialogs share: label field, editor, emoji and picture buttons, and
// the save that puts the pictures on the service before the phrase itself is written.
class PhraseDialog : public QDialog, public control_emojis_delegate {
    Q_OBJECT
public:
    QLineEdit *labelViewBox;
    EditTextView *textView;
    QPushButton *button_save;
    QPushButton *button_cancel;
    QPushButton *button_emoji;
    QPushButton *button_openImage;

    void button_save_click();
    void button_cancel_click();
    void button_emoji_click();
    void button_openImageFileClick();
    // Reads a picture file and inserts it; an unknown picture type is refused with a message box.
    void insertImageFile(const QString &path);

    void onItemClick(const QString &value) override;

    // The editor content as jsonValue.
    QString jsonValue() const;
    // The upload dialog of a save in progress, if any.
    control_upImage *uploadDialog() const { return upload_; }
    control_emojis *emojiPicker() const { return emojis_; }

protected:
    PhraseDialog(const QString &title, QWidget *parent);

    // Writes the phrase once its pictures are on the service; calls savedWith() with the outcome.
    virtual void writePhrase() = 0;
    void savedWith(const DataResult &result);

    QFormLayout *fields;

private:
    void uploaded(const DataResult &result);

    QPointer<control_upImage> upload_;
    QFrame *emojiPopup_ = nullptr;
    control_emojis *emojis_ = nullptr;
};
