#pragma once

#include "model/phrasecontent.h"
#include "model/result.h"

#include <QDialog>
#include <QStringList>

class QLabel;
class QProgressBar;
class CloudClient;
class UploadProcedure;

// Puts the pictures of a phrase on the service before it is saved, showing which picture is on its
// way and how far it got. Starts when shown; closes by itself and reports the overall outcome.
class PictureUploadDialog : public QDialog {
    Q_OBJECT
public:
    PictureUploadDialog(CloudClient &cloud, const PhraseContent &content, OperationCallback callback,
                        QWidget *parent = nullptr);

    const QStringList &filenameArr() const;
    bool isRunning() const { return running_; }

    QProgressBar *progressbar;
    QLabel *label;

public Q_SLOTS:
    void reject() override;

protected:
    void showEvent(QShowEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    void finish(const Result<void> &result);

    UploadProcedure *procedure_;
    OperationCallback callback;
    bool running_ = false;
    bool started_ = false;
};
