#pragma once

#include <QEnterEvent>
#include <QEvent>

// Adds "is the pointer over me" to a widget: set on enter, cleared on leave, repainted on change.
template <class Base> class HoverTracked : public Base {
public:
    using Base::Base;

    bool isMouseOver() const { return isMouseOver_; }

protected:
    void enterEvent(QEnterEvent *event) override {
        Base::enterEvent(event);
        setMouseOver(true);
    }

    void leaveEvent(QEvent *event) override {
        Base::leaveEvent(event);
        setMouseOver(false);
    }

    void setMouseOver(bool over) {
        if (over == isMouseOver_)
            return;
        isMouseOver_ = over;
        this->update();
        mouseOverChanged(over);
    }

    // Called after the state changed and a repaint was asked for.
    virtual void mouseOverChanged(bool) {}

private:
    bool isMouseOver_ = false;
};
