#include "ui/framedwindow.h"

#include <QAbstractButton>
#include <QEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QVBoxLayout>
#include <QWindow>

namespace {

// One round window button; the glyph shows while the pointer is over the group.
class TitleBarButton : public QAbstractButton {
public:
    enum Kind { Close, Minimise, Zoom };
    TitleBarButton(Kind kind, QWidget *parent) : QAbstractButton(parent), kind_(kind) {
        setFixedSize(14, 14);
        setCursor(Qt::ArrowCursor);
        setFocusPolicy(Qt::NoFocus);
        setAttribute(Qt::WA_Hover);
        static const char *names[] = {"关闭", "最小化", "缩放"};
        setToolTip(QString::fromUtf8(names[kind]));
        setAccessibleName(toolTip());
    }

protected:
    void paintEvent(QPaintEvent *) override {
        static const QColor fills[] = {{255, 95, 87}, {254, 188, 46}, {40, 200, 64}};
        QPainter p(this);
        p.setRenderHint(QPainter::Antialiasing);
        QColor fill = isEnabled() ? fills[kind_] : QColor(205, 205, 205);
        if (isDown())
            fill = fill.darker(115);
        p.setPen(QPen(fill.darker(118), 0.8));
        p.setBrush(fill);
        const QRectF r = QRectF(rect()).adjusted(1, 1, -1, -1);
        p.drawEllipse(r);
        if (!underMouse())
            return;
        p.setPen(QPen(QColor(0, 0, 0, 150), 1.2, Qt::SolidLine, Qt::RoundCap));
        const QPointF c = r.center();
        const qreal d = 2.6;
        switch (kind_) {
        case Close:
            p.drawLine(c + QPointF(-d, -d), c + QPointF(d, d));
            p.drawLine(c + QPointF(-d, d), c + QPointF(d, -d));
            break;
        case Minimise:
            p.drawLine(c + QPointF(-d - 0.5, 0), c + QPointF(d + 0.5, 0));
            break;
        case Zoom:
            p.drawLine(c + QPointF(-d - 0.5, 0), c + QPointF(d + 0.5, 0));
            p.drawLine(c + QPointF(0, -d - 0.5), c + QPointF(0, d + 0.5));
            break;
        }
    }
    void enterEvent(QEnterEvent *e) override {
        QAbstractButton::enterEvent(e);
        update();
    }
    void leaveEvent(QEvent *e) override {
        QAbstractButton::leaveEvent(e);
        update();
    }

private:
    Kind kind_;
};

} // namespace

FramedWindow::FramedWindow(QWidget *parent) : QWidget(parent) {
    setWindowFlags(Qt::Window | Qt::FramelessWindowHint);
    setAttribute(Qt::WA_TranslucentBackground, false);
    setAutoFillBackground(true);
    QPalette pal = palette();
    pal.setColor(QPalette::Window, Qt::white);
    setPalette(pal);

    layout_ = new QVBoxLayout(this);
    layout_->setContentsMargins(0, 0, 0, 0);
    layout_->setSpacing(0);

    titleBar_ = new QWidget(this);
    titleBar_->setObjectName("titleBar");
    titleBar_->setFixedHeight(int(kTitlebarHeight));
    titleBar_->installEventFilter(this);
    layout_->addWidget(titleBar_);

    auto *close = new TitleBarButton(TitleBarButton::Close, titleBar_);
    auto *minimise = new TitleBarButton(TitleBarButton::Minimise, titleBar_);
    auto *zoom = new TitleBarButton(TitleBarButton::Zoom, titleBar_);
    connect(close, &QAbstractButton::clicked, this, &QWidget::close);
    connect(minimise, &QAbstractButton::clicked, this, &QWidget::showMinimized);
    connect(zoom, &QAbstractButton::clicked, this,
            [this] { isMaximized() ? showNormal() : showMaximized(); });
    buttons_ = {close, minimise, zoom};

    windowDidLoad();
}

void FramedWindow::windowDidLoad() {
    if (loaded_)
        return;
    loaded_ = true;
    updateTitleBarOfWindow(false);
}

void FramedWindow::setContentView(QWidget *view) {
    if (content_ == view)
        return;
    if (content_) {
        layout_->removeWidget(content_);
        content_->deleteLater();
    }
    content_ = view;
    if (view) {
        view->setParent(this);
        layout_->addWidget(view, 1);
        view->show();
    }
}

void FramedWindow::updateTitleBarOfWindow(bool fullScreen) {
    // A full-screen window keeps no title bar of its own.
    titleBar_->setVisible(!fullScreen);
    int x = int(buttonOriginX);
    for (QAbstractButton *b : buttons_) {
        b->move(x, (int(kTitlebarHeight) - b->height()) / 2);
        x += b->width() + 6;
    }
}

void FramedWindow::changeEvent(QEvent *event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::WindowStateChange)
        updateTitleBarOfWindow(isFullScreen());
}

void FramedWindow::resizeEvent(QResizeEvent *event) {
    QWidget::resizeEvent(event);
    updateTitleBarOfWindow(isFullScreen());
}

bool FramedWindow::eventFilter(QObject *watched, QEvent *event) {
    if (watched == titleBar_) {
        if (event->type() == QEvent::MouseButtonPress) {
            auto *me = static_cast<QMouseEvent *>(event);
            if (me->button() == Qt::LeftButton && windowHandle()) {
                windowHandle()->startSystemMove();
                return true;
            }
        } else if (event->type() == QEvent::MouseButtonDblClick) {
            isMaximized() ? showNormal() : showMaximized();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void FramedWindow::paintEvent(QPaintEvent *) {
    // A hairline round the frameless window so it stands apart from a white desktop.
    QPainter p(this);
    p.setPen(QColor(0, 0, 0, 40));
    p.drawRect(rect().adjusted(0, 0, -1, -1));
}
