#include "editor/phrasedialog.h"

#include "cloud/imageutil.h"
#include "editor/control_emojis.h"
#include "editor/control_upimage.h"
#include "editor/edittextview.h"
#include "model/contentformat.h"
#include "model/dataresult.h"
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

PhraseDialog::PhraseDialog(const QString &title, QWidget *parent)
    : QDialog(parent), labelViewBox(new QLineEdit(this)), textView(new EditTextView(this)),
      button_save(new QPushButton(QStringLiteral("保存"), this)),
      button_cancel(new QPushButton(QStringLiteral("取消"), this)),
      button_emoji(new QPushButton(QStringLiteral("😊 表情"), this)),
      button_openImage(new QPushButton(QStringLiteral("🖼️ 图片"), this)), fields(new QFormLayout) {
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

    button_emoji->setToolTip(QStringLiteral("插入表情"));
    button_openImage->setToolTip(QStringLiteral("插入图片文件"));
    button_save->setDefault(true);
    button_save->setAutoDefault(true);
    button_cancel->setAutoDefault(false);
    button_emoji->setAutoDefault(false);
    button_openImage->setAutoDefault(false);
    for (QPushButton *b : {button_save, button_cancel, button_emoji, button_openImage})
        b->setMinimumWidth(84);
    for (QPushButton *b : {button_emoji, button_openImage}) {
        QFont f = b->font();
        f.setFamilies({f.family(), QStringLiteral("Noto Sans CJK SC"), QStringLiteral("Noto Color Emoji")});
        b->setFont(f);
    }

    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    buttons->addWidget(button_emoji);
    buttons->addWidget(button_openImage);
    buttons->addStretch(1);
    buttons->addWidget(button_cancel);
    buttons->addWidget(button_save);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 20, 20, 16);
    layout->setSpacing(12);
    layout->addLayout(fields);
    layout->addWidget(textView, 1);
    layout->addLayout(buttons);

    connect(button_save, &QPushButton::clicked, this, &PhraseDialog::button_save_click);
    connect(button_cancel, &QPushButton::clicked, this, &PhraseDialog::button_cancel_click);
    connect(button_emoji, &QPushButton::clicked, this, &PhraseDialog::button_emoji_click);
    connect(button_openImage, &QPushButton::clicked, this, &PhraseDialog::button_openImageFileClick);
}

QString PhraseDialog::jsonValue() const {
    return toJsonValue(textView->getValue());
}

void PhraseDialog::button_save_click() {
    if (upload_)
        return; // a save is already on its way
    button_save->setEnabled(false);
    upload_ = new control_upImage(
        jsonValue(), [this](const DataResult &r) { uploaded(r); }, this);
    upload_->setAttribute(Qt::WA_DeleteOnClose);
    upload_->setWindowModality(Qt::WindowModal);
    upload_->open();
}

void PhraseDialog::uploaded(const DataResult &result) {
    if (result.isSuccess()) {
        writePhrase();
        return;
    }
    button_save->setEnabled(true);
    MessageBox::show(QStringLiteral("上传图片失败"), result.msg(), this);
}

void PhraseDialog::savedWith(const DataResult &result) {
    // A refused write keeps everything as it is so that the user can save again.
    if (result.isSuccess())
        accept();
    else
        button_save->setEnabled(true);
}

void PhraseDialog::button_cancel_click() {
    reject();
}

void PhraseDialog::onItemClick(const QString &value) {
    textView->insertString(value);
}

void PhraseDialog::button_emoji_click() {
    if (!emojiPopup_) {
        emojiPopup_ = new QFrame(this, Qt::Popup);
        emojiPopup_->setFrameShape(QFrame::StyledPanel);
        emojis_ = new control_emojis(emojiPopup_);
        emojis_->delegate = this;
        auto *layout = new QVBoxLayout(emojiPopup_);
        layout->setContentsMargins(6, 6, 6, 6);
        layout->addWidget(emojis_);
        // Nine columns and a scroll bar beside them.
        emojiPopup_->resize(9 * (40 + control_emojis::spacing) + 30, 6 * (40 + control_emojis::spacing) + 12);
    }
    // Below the button, or above it when the screen ends first.
    QPoint at = button_emoji->mapToGlobal(QPoint(0, button_emoji->height() + 4));
    if (const QScreen *screen = button_emoji->screen()) {
        const QRect area = screen->availableGeometry();
        if (at.y() + emojiPopup_->height() > area.bottom())
            at.setY(button_emoji->mapToGlobal(QPoint(0, 0)).y() - emojiPopup_->height() - 4);
        at.setX(std::clamp(at.x(), area.left(), std::max(area.left(), area.right() - emojiPopup_->width())));
    }
    emojiPopup_->move(at);
    emojiPopup_->show();
}

void PhraseDialog::button_openImageFileClick() {
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
    const QByteArray data = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    if (ImageUtil::getRealExtensionName(data).isEmpty()) {
        MessageBox::show(QStringLiteral("图片类型不正确"), QStringLiteral("上传图片失败"), this);
        return;
    }
    textView->insertImage(data);
    textView->setFocus();
}
