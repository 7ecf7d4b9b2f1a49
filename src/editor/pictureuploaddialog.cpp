#include "editor/pictureuploaddialog.h"

#include "cloud/uploadprocedure.h"

#include <QCloseEvent>
#include <QLabel>
#include <QProgressBar>
#include <QTimer>
#include <QVBoxLayout>

PictureUploadDialog::PictureUploadDialog(CloudClient &cloud, const PhraseContent &content,
                                         OperationCallback callback, QWidget *parent)
    : QDialog(parent), progressbar(new QProgressBar(this)), label(new QLabel(this)),
      procedure_(new UploadProcedure(cloud, content.distinctPictureNames(), this)),
      callback(std::move(callback)) {
    setWindowTitle(QStringLiteral("上传图片"));
    setModal(true);
    setMinimumWidth(380);

    label->setText(QStringLiteral("正在准备上传…"));
    label->setTextFormat(Qt::PlainText);
    label->setMinimumWidth(340);
    // File names are long digests: cut them in the middle rather than widen the dialog.
    label->setWordWrap(false);
    progressbar->setRange(0, 100);
    progressbar->setValue(0);
    progressbar->setTextVisible(true);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 20);
    layout->setSpacing(10);
    layout->addWidget(label);
    layout->addWidget(progressbar);

    connect(procedure_, &UploadProcedure::labelChanged, this, [this](const QString &text) {
        label->setText(label->fontMetrics().elidedText(text, Qt::ElideMiddle, label->width()));
        progressbar->setValue(0);
    });
    connect(procedure_, &UploadProcedure::progressChanged, progressbar, &QProgressBar::setValue);
    connect(procedure_, &UploadProcedure::finished, this, &PictureUploadDialog::finish);
}

const QStringList &PictureUploadDialog::filenameArr() const {
    return procedure_->filenameArr();
}

void PictureUploadDialog::showEvent(QShowEvent *event) {
    QDialog::showEvent(event);
    if (started_)
        return;
    started_ = true;
    running_ = true;
    procedure_->start();
}

void PictureUploadDialog::finish(const Result<void> &result) {
    running_ = false;
    progressbar->setValue(result.isOk() ? 100 : progressbar->value());
    done(result.isOk() ? QDialog::Accepted : QDialog::Rejected);
    if (callback)
        callback(result);
}

void PictureUploadDialog::reject() {
    // The uploads cannot be called back half-way; the dialog stays until they are settled.
    if (!running_)
        QDialog::reject();
}

void PictureUploadDialog::closeEvent(QCloseEvent *event) {
    if (running_)
        event->ignore();
    else
        QDialog::closeEvent(event);
}
