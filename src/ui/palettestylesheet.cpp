#include "ui/palettestylesheet.h"

#include <QApplication>
#include <QWidget>

PaletteStyleSheet::PaletteStyleSheet(QWidget *widget, Maker maker)
    : QObject(widget), widget_(widget), maker_(std::move(maker)) {
    update();
}

void PaletteStyleSheet::apply(QWidget *widget, Maker maker) {
    if (auto *old = widget->findChild<PaletteStyleSheet *>(QString(), Qt::FindDirectChildrenOnly)) {
        old->maker_ = std::move(maker);
        old->update();
        return;
    }
    new PaletteStyleSheet(widget, std::move(maker));
}

void PaletteStyleSheet::update() {
    widget_->setStyleSheet(maker_(QApplication::palette(widget_)));
}

void PaletteStyleSheet::refreshAll() {
    const QWidgetList widgets = QApplication::allWidgets();
    for (QWidget *w : widgets) {
        if (auto *own = w->findChild<PaletteStyleSheet *>(QString(), Qt::FindDirectChildrenOnly))
            own->update();
        else if (!w->styleSheet().isEmpty())
            w->setStyleSheet(w->styleSheet());
    }
}
