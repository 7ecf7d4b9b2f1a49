#pragma once

#include <QIcon>
#include <QPushButton>

// A flat button that shows an image and a soft rounded highlight while the pointer is over it.
class ImageButton : public QPushButton {
    Q_OBJECT
public:
    explicit ImageButton(const QIcon &icon = {}, QWidget *parent = nullptr);

    bool isMouseOver() const { return isMouseOver_; }

protected:
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    bool isMouseOver_ = false;
};
