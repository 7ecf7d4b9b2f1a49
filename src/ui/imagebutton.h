#pragma once

#include "ui/hovertracked.h"

#include <QIcon>
#include <QPushButton>

// A flat button that shows an image and a soft rounded highlight while the pointer is over it.
class ImageButton : public HoverTracked<QPushButton> {
    Q_OBJECT
public:
    explicit ImageButton(const QIcon &icon = {}, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
};
