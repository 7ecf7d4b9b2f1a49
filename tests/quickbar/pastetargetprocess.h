#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

// The paste target of the send engine's tests, standing for the chat program: started, in front,
// and read back through its log.
class PasteTargetProcess {
public:
    ~PasteTargetProcess();

    // Starts it and waits until its window is managed and active. False with a warning otherwise.
    bool start(const QString &title);
    quint64 window() const { return window_; }
    qint64 pid() const { return process_.processId(); }
    // Brings it to the front again, as the agent clicking into the chat.
    bool activate();

    // The texts pasted so far (line feeds as "\n"), and the number of Enter strokes.
    QStringList pasted() const;
    int enters() const;

private:
    QTemporaryDir dir_;
    QProcess process_;
    quint64 window_ = 0;
};
