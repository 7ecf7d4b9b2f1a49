#pragma once

#include "ui/hovertracked.h"

#include <QWidget>

class BackgroundViewListener {
public:
    virtual ~BackgroundViewListener() = default;
    virtual void onBackgroundDoubleClick() = 0;
};

// The background of a list row: draws hover and selection, and counts clicks itself so that every
// even click of a run (2, 4, 6 ...) reports a double click. A run ends 0.6 s after its last click.
class BackgroundView : public HoverTracked<QWidget> {
    Q_OBJECT
public:
    explicit BackgroundView(QWidget *parent = nullptr);

    BackgroundViewListener *listener = nullptr;
    int clickCount = 0;

    bool isSelect() const { return isSelect_; }
    void setIsSelect(bool isSel);
    // After 0.6 s the count goes back to 0 unless another click came meanwhile.
    void resetClickCount(int newCount);

    static constexpr int clickResetMs = 600;

protected:
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    bool isSelect_ = false;
};
