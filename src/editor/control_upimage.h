#pragma once

#include "model/dataresult.h"

#include <QDialog>
#include <QStringList>

class QLabel;
class QProgressBar;
class UploadProcedure;

// Puts the pictures of a phrase on the service before it is saved, showing which picture is on its
// way and how far it got. Starts when shown; closes by itself and reports the overall outcome.
class control_upImage : public QDialog {
    Q_OBJECT
public:
    control_upImage(const QString &jsonValue, DataResultCallback callback, QWidget *parent = nullptr);

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
    void finish(const DataResult &result);

    UploadProcedure *procedure_;
    DataResultCallback callback;
    bool running_ = false;
    bool started_ = false;
};
