#pragma once

#include <QColor>
#include <QWidget>

// A plain view that highlights itself while the pointer is over it.
class HoverView : public QWidget {
    Q_OBJECT
public:
    explicit HoverView(QWidget *parent = nullptr);

    bool isMouseOver() const { return isMouseOver_; }

    void setHoverColor(const QColor &color);
    void setNormalColor(const QColor &color);
    void setCornerRadius(qreal radius);

Q_SIGNALS:
    void hoverChanged(bool isMouseOver);

protected:
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void setMouseOver(bool over);

    bool isMouseOver_ = false;
    QColor hoverColor_{0, 0, 0, 24};
    QColor normalColor_{Qt::transparent};
    qreal cornerRadius_ = 6;
};
