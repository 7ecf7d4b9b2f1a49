#include "ui/messagebox.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QWidget>

namespace {

QMessageBox *make(const QString &title, const QString &value, QWidget *window, QMessageBox::Icon style,
                  bool twoButtons, QAbstractButton **okButton) {
    // A sheet belongs to the top-level window, not to the button that asked for it.
    QWidget *parent = window ? window->window() : nullptr;
    auto *box = new QMessageBox(parent);
    box->setIcon(style);
    box->setWindowTitle(title);
    box->setText(title);
    box->setInformativeText(value);
    box->setTextFormat(Qt::PlainText);
    // The title reads as a heading; short texts should not make a cramped box.
    if (auto *heading = box->findChild<QLabel *>(QStringLiteral("qt_msgbox_label"))) {
        QFont font = heading->font();
        font.setBold(true);
        heading->setFont(font);
    }
    box->setStyleSheet(
        QStringLiteral("QLabel#qt_msgbox_label, QLabel#qt_msgbox_informativelabel { min-width: 260px; }"));
    QPushButton *ok = box->addButton(QStringLiteral("确认"), QMessageBox::AcceptRole);
    if (twoButtons) {
        QPushButton *cancel = box->addButton(QStringLiteral("取消"), QMessageBox::RejectRole);
        box->setEscapeButton(cancel);
    } else {
        box->setEscapeButton(ok);
    }
    box->setDefaultButton(ok);
    *okButton = ok;
    return box;
}

} // namespace

bool MessageBox::showIsOk(const QString &title, const QString &value, QMessageBox::Icon style) {
    QAbstractButton *ok = nullptr;
    QMessageBox *box = make(title, value, nullptr, style, true, &ok);
    box->exec();
    const bool answer = box->clickedButton() == ok;
    delete box;
    return answer;
}

void MessageBox::showIsOk(const QString &title, const QString &value, QWidget *window,
                          QMessageBox::Icon style, std::function<void(bool)> callback) {
    QAbstractButton *ok = nullptr;
    QMessageBox *box = make(title, value, window, style, true, &ok);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(window ? Qt::WindowModal : Qt::ApplicationModal);
    QPointer<QAbstractButton> okGuard(ok);
    QObject::connect(box, &QMessageBox::finished, box, [box, okGuard, callback = std::move(callback)] {
        const bool isOk = okGuard && box->clickedButton() == okGuard;
        if (callback)
            callback(isOk);
    });
    box->open();
}

void MessageBox::show(const QString &title, const QString &value, QWidget *window, QMessageBox::Icon style,
                      std::function<void()> callback) {
    QAbstractButton *ok = nullptr;
    QMessageBox *box = make(title, value, window, style, false, &ok);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(window ? Qt::WindowModal : Qt::ApplicationModal);
    QObject::connect(box, &QMessageBox::finished, box, [callback = std::move(callback)] {
        if (callback)
            callback();
    });
    box->open();
}
