#pragma once

#include <QByteArray>
#include <QLockFile>
#include <QObject>
#include <QString>
#include <memory>
#include <optional>

class QLocalServer;

// One running program per user and display. The first start listens on a local socket in the
// runtime folder; a later start hands its request ("show", "quickbar", "palette", "quit") to it and
// ends.
class InstanceChannel : public QObject {
    Q_OBJECT
public:
    explicit InstanceChannel(QObject *parent = nullptr);
    ~InstanceChannel() override;

    // $XDG_RUNTIME_DIR/quillora-<display>.socket
    static QString socketPath();

    // Sends the request to the running program and returns its answer; absent when none runs. While
    // absent is returned, this object holds the start lock until listen() so that two programs
    // started together never both become the first.
    std::optional<QByteArray> handOver(const QByteArray &request);
    // Takes over the socket, also one left behind by a program that crashed.
    bool listen();

    static inline const QByteArray answerOk = QByteArrayLiteral("ok");

Q_SIGNALS:
    // A later start asked for something (it has already been answered).
    void requested(const QByteArray &request);

private:
    void serve();

    std::unique_ptr<QLockFile> lock_;
    QLocalServer *server_ = nullptr;
};
