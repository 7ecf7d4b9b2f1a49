#pragma once

#include <QClipboard>
#include <QFile>
#include <QLineEdit>

// A text field that writes one line to its log for every paste (what the clipboard held at that
// moment), every Enter (keypad or Return) and every Left arrow it receives. Its ways of pasting
// stand for the programs a phrase is sent into.
class PasteField : public QLineEdit {
    Q_OBJECT
public:
    struct Behaviour {
        // Like Chromium: reads the clipboard at the paste, is busy this long (the page's paste
        // handler), then reads it again and inserts what the second read gave. -1: off.
        int rereadMs = -1;
        // Like GTK: asks for the data and goes on handling keys; the answer is used this long
        // later. -1: off.
        int asyncMs = -1;
        // Takes text only: asks which types there are, never for a picture.
        bool textOnly = false;
        // Like a terminal: Ctrl+V is a control character, Ctrl+Shift+V pastes the clipboard,
        // Shift+Insert the PRIMARY selection.
        bool terminal = false;
    };

    PasteField(const QString &logPath, bool stamp, Behaviour behaviour, QWidget *parent = nullptr);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void log(const QString &line);
    void paste(QClipboard::Mode mode);
    void logPaste(QClipboard::Mode mode);

    QFile log_;
    bool stamp_;
    Behaviour behaviour_;
};
