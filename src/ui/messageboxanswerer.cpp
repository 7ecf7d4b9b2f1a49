#include "ui/messageboxanswerer.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QEvent>
#include <QPointer>
#include <QPushButton>
#include <QTimer>

MessageBoxAnswerer::MessageBoxAnswerer(Provider provider, QObject *parent)
    : QObject(parent), provider_(std::move(provider)) {
    QCoreApplication::instance()->installEventFilter(this);
}

MessageBoxAnswerer::~MessageBoxAnswerer() {
    if (QCoreApplication *app = QCoreApplication::instance())
        app->removeEventFilter(this);
}

bool MessageBoxAnswerer::eventFilter(QObject *watched, QEvent *event) {
    auto *box = event->type() == QEvent::Show ? qobject_cast<QMessageBox *>(watched) : nullptr;
    if (!box || box->property("quillora-answered").toBool())
        return false;
    box->setProperty("quillora-answered", true);
    const Request request{box->windowTitle(), box->informativeText(), box->icon(), box->buttons().size() > 1,
                          box->parentWidget() != nullptr};
    shown_.append(request);
    const bool yes = !provider_ || provider_(request);
    // After the show has finished, as a user's click would come.
    QPointer<QMessageBox> guard(box);
    QTimer::singleShot(0, box, [guard, yes] {
        if (!guard)
            return;
        QAbstractButton *button =
            yes ? static_cast<QAbstractButton *>(guard->defaultButton()) : guard->escapeButton();
        if (!button)
            button = guard->defaultButton();
        if (button)
            button->click();
    });
    return false;
}
