#include "editor/phrasedialog.h"

#include "cloud/imageutil.h"
#include "editor/emojipicker.h"
#include "editor/phraseeditor.h"
#include "editor/pictureuploaddialog.h"
#include "model/result.h"
#include "ui/messagebox.h"

#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QFrame>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QStandardPaths>
#include <QVBoxLayout>

PhraseDialog::PhraseDialog(CloudClient &cloud, const QString &title, QWidget *parent)
    : QDialog(parent), labelViewBox(new QLineEdit(this)), textView(new PhraseEditor(this)),
      saveButton(new QPushButton(QStringLiteral("保存"), this)),
      cancelButton(new QPushButton(QStringLiteral("取消"), this)),
      emojiButton(new QPushButton(QStringLiteral("😊 表情"), this)),
      openPictureButton(new QPushButton(QStringLiteral("🖼️ 图片"), this)), fields(new QFormLayout),
      cloud_(cloud) {
    setWindowTitle(title);
    setModal(true);
    resize(560, 460);
    setMinimumSize(420, 340);

    labelViewBox->setPlaceholderText(QStringLiteral("短语标题"));
    labelViewBox->setClearButtonEnabled(true);
    textView->setPlaceholderText(QStringLiteral("输入回复内容，可插入图片和表情"));
    textView->setTabChangesFocus(true);

    fields->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    fields->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    fields->setHorizontalSpacing(10);
    fields->setVerticalSpacing(10);
    fields->addRow(QStringLiteral("标题"), labelViewBox);

    emojiButton->setToolTip(QStringLiteral("插入表情"));
    openPictureButton->setToolTip(QStringLiteral("插入图片文件"));
    saveButton->setDefault(true);
    saveButton->setAutoDefault(true);
    cancelButton->setAutoDefault(false);
    emojiButton->setAutoDefault(false);
    openPictureButton->setAutoDefault(false);
    for (QPushButton *b : {saveButton, cancelButton, emojiButton, openPictureButton})
        b->setMinimumWidth(84);
    for (QPushButton *b : {emojiButton, openPictureButton}) {
        QFont f = b->font();
        f.setFamilies({f.family(), QStringLiteral("Noto Sans CJK SC"), QStringLiteral("Noto Color Emoji")});
        b->setFont(f);
    }

    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    buttons->addWidget(emojiButton);
    buttons->addWidget(openPictureButton);
    buttons->addStretch(1);
    buttons->addWidget(cancelButton);
    buttons->addWidget(saveButton);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 20, 20, 16);
    layout->setSpacing(12);
    layout->addLayout(fields);
    layout->addWidget(textView, 1);
    layout->addLayout(buttons);

    connect(saveButton, &QPushButton::clicked, this, &PhraseDialog::saveClicked);
    connect(cancelButton, &QPushButton::clicked, this, &PhraseDialog::cancelClicked);
    connect(emojiButton, &QPushButton::clicked, this, &PhraseDialog::emojiClicked);
    connect(openPictureButton, &QPushButton::clicked, this, &PhraseDialog::openPictureClicked);
}

PhraseContent PhraseDialog::content() const {
    return textView->getValue().normalized();
}

void PhraseDialog::saveClicked() {
    if (upload_)
        return; // a save is already on its way
    saveButton->setEnabled(false);
    upload_ = new PictureUploadDialog(
        cloud_, content(), [this](const Result<void> &r) { uploaded(r); }, this);
    upload_->setAttribute(Qt::WA_DeleteOnClose);
    upload_->setWindowModality(Qt::WindowModal);
    upload_->open();
}

void PhraseDialog::uploaded(const Result<void> &result) {
    if (result.isOk()) {
        writePhrase();
        return;
    }
    saveButton->setEnabled(true);
    MessageBox::show(QStringLiteral("上传图片失败"), result.error(), this);
}

void PhraseDialog::savedWith(const Result<void> &result) {
    // A refused write keeps everything as it is so that the user can save again.
    if (result.isOk())
        accept();
    else
        saveButton->setEnabled(true);
}

void PhraseDialog::cancelClicked() {
    reject();
}

void PhraseDialog::insertEmoji(const QString &value) {
    textView->insertString(value);
}

void PhraseDialog::emojiClicked() {
    if (!emojiPopup_) {
        emojiPopup_ = new QFrame(this, Qt::Popup);
        emojiPopup_->setFrameShape(QFrame::StyledPanel);
        emojis_ = new EmojiPicker(emojiPopup_);
        connect(emojis_, &EmojiPicker::picked, this, &PhraseDialog::insertEmoji);
        auto *layout = new QVBoxLayout(emojiPopup_);
        layout->setContentsMargins(6, 6, 6, 6);
        layout->addWidget(emojis_);
        // Nine columns and a scroll bar beside them.
        emojiPopup_->resize(9 * (40 + EmojiPicker::spacing) + 30, 6 * (40 + EmojiPicker::spacing) + 12);
    }
    // Below the button, or above it when the screen ends first.
    QPoint at = emojiButton->mapToGlobal(QPoint(0, emojiButton->height() + 4));
    if (const QScreen *screen = emojiButton->screen()) {
        const QRect area = screen->availableGeometry();
        if (at.y() + emojiPopup_->height() > area.bottom())
            at.setY(emojiButton->mapToGlobal(QPoint(0, 0)).y() - emojiPopup_->height() - 4);
        at.setX(std::clamp(at.x(), area.left(), std::max(area.left(), area.right() - emojiPopup_->width())));
    }
    emojiPopup_->move(at);
    emojiPopup_->show();
}

void PhraseDialog::openPictureClicked() {
    auto *panel = new QFileDialog(this, QStringLiteral("请选择图片"));
    panel->setOption(QFileDialog::DontUseNativeDialog);
    panel->setOption(QFileDialog::ReadOnly); // no new folders from here
    panel->setFileMode(QFileDialog::ExistingFile);
    panel->setAcceptMode(QFileDialog::AcceptOpen);
    panel->setNameFilter(QStringLiteral("图片 (*.png *.jpg *.gif)"));
    const QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    panel->setDirectory(QFileInfo(pictures).isDir() ? pictures : QDir::homePath());
    panel->setLabelText(QFileDialog::Accept, QStringLiteral("选择"));
    panel->setLabelText(QFileDialog::Reject, QStringLiteral("取消"));
    panel->setLabelText(QFileDialog::LookIn, QStringLiteral("位置"));
    panel->setLabelText(QFileDialog::FileName, QStringLiteral("文件名"));
    panel->setLabelText(QFileDialog::FileType, QStringLiteral("类型"));
    panel->setWindowModality(Qt::WindowModal);
    panel->setAttribute(Qt::WA_DeleteOnClose);
    connect(panel, &QFileDialog::fileSelected, this, &PhraseDialog::insertImageFile);
    panel->open();
}

void PhraseDialog::insertImageFile(const QString &path) {
    QFile file(path);
    const std::optional<QByteArray> data =
        ImageUtil::storable(file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray());
    if (!data) {
        MessageBox::show(QStringLiteral("图片类型不正确"), QStringLiteral("上传图片失败"), this);
        return;
    }
    textView->insertImage(*data);
    textView->setFocus();
}
