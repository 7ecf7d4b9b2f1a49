#pragma once

#include "model/result.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <optional>

class CloudClient;

// Puts the pictures of a phrase on the service, one after the other: known names are skipped, the
// others uploaded. The upload dialog shows the signals; they are all emitted on the GUI thread.
class UploadProcedure : public QObject {
    Q_OBJECT
public:
    // Distinct names, in order.
    UploadProcedure(CloudClient &client, QStringList pictureNames, QObject *parent = nullptr);

    const QStringList &filenameArr() const { return filenameArr_; }

    // Runs once, one picture at a time, each step started by the reply to the one before; ends with
    // finished(). Success only when every picture is known to
    // the service or was uploaded; otherwise the first failure's message.
    void start();

Q_SIGNALS:
    void labelChanged(const QString &text);
    void progressChanged(int percent);
    void finished(const Result<void> &result);

private:
    void uploadNext();

    CloudClient &client_;
    QStringList filenameArr_;
    qsizetype next_ = 0;
    std::optional<QString> firstFailure_;
    bool started_ = false;
};
