#pragma once

#include <QColor>
#include <QPalette>
#include <QWidget>

// One slot of the quick bar ("F1" .. "F12"): a rounded tile that lights up under the pointer and while
// pressed. It only reports the gestures; what a slot stands for is looked up by the bar at that moment.
class QuickBarSlot : public QWidget {
    Q_OBJECT
public:
    static constexpr int itemWidth = 60;
    static constexpr int itemHeight = 30;
    static constexpr int cornerRadius = 3;

    QuickBarSlot(int index, const QString &text, QWidget *parent = nullptr);

    int index() const { return index_; }
    QString text() const { return text_; }
    bool isHighlighted() const { return hovered_; }
    bool isSelected() const { return selected_; }
    void setSelected(bool selected);

    // The tile colours from the bar's palette: the resting slot, the pressed one, the outline of the
    // slot under the pointer or pressed, and the key's name.
    static QColor background(const QPalette &palette);
    static QColor pressedBackground(const QPalette &palette);
    static QColor outline(const QPalette &palette, bool pressed);

    QSize sizeHint() const override { return {itemWidth, itemHeight}; }

Q_SIGNALS:
    void highlighted(int index);
    void clicked(int index);

protected:
    void paintEvent(QPaintEvent *event) override;
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    int index_;
    QString text_;
    bool hovered_ = false;
    bool selected_ = false;
};
