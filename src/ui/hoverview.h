#pragma once

#include "ui/hovertracked.h"

#include <QColor>
#include <QWidget>

// A plain view that highlights itself while the pointer is over it.
class HoverView : public HoverTracked<QWidget> {
    Q_OBJECT
public:
    explicit HoverView(QWidget *parent = nullptr);

    void setHoverColor(const QColor &color);
    void setNormalColor(const QColor &color);
    void setCornerRadius(qreal radius);

Q_SIGNALS:
    void hoverChanged(bool isMouseOver);

protected:
    void hideEvent(QHideEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

    void mouseOverChanged(bool over) override;

private:
    QColor hoverColor_{0, 0, 0, 24};
    QColor normalColor_{Qt::transparent};
    qreal cornerRadius_ = 6;
};
