#pragma once

#include <QColor>
#include <QPushButton>

// The small button of a phrase row that sends the phrase: flat, no title, a translucent grey
// background while the pointer is over its top 30 pixels.
class SendButton : public QPushButton {
    Q_OBJECT
public:
    explicit SendButton(QWidget *parent = nullptr);

    bool isHighlighted() const { return highlighted_; }
    static QColor highlightColor(const QPalette &palette);
    static constexpr int trackedHeight = 30;

protected:
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void setHighlighted(bool on);
    bool highlighted_ = false;
};
