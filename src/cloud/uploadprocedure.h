#pragma once

#include "model/operationresult.h"

#include <QObject>
#include <QString>
#include <QStringList>

// Puts the pictures of a phrase on the service, one after the other: known names are skipped, the
// others uploaded. The upload dialog shows the signals; they are all emitted on the GUI thread.
class UploadProcedure : public QObject {
    Q_OBJECT
public:
    explicit UploadProcedure(const QString &jsonValue, QObject *parent = nullptr);

    const QStringList &filenameArr() const { return filenameArr_; }

    // Runs once, on a pool thread; ends with finished(). Success only when every picture is known to
    // the service or was uploaded; otherwise the first failure's message.
    void start();

Q_SIGNALS:
    void labelChanged(const QString &text);
    void progressChanged(int percent);
    void finished(const OperationResult &result);

private:
    QStringList filenameArr_;
    bool started_ = false;
};
