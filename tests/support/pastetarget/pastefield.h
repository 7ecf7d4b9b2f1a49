#pragma once

#include <QFile>
#include <QLineEdit>

// A text field that writes one line to its log for every paste (what the clipboard held at that
// moment), every Enter (keypad or Return) and every Left arrow it receives.
class PasteField : public QLineEdit {
    Q_OBJECT
public:
    PasteField(const QString &logPath, bool stamp, QWidget *parent = nullptr);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void log(const QString &line);
    void logPaste();

    QFile log_;
    bool stamp_;
};
