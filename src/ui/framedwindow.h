#pragma once

#include <QList>
#include <QPointer>
#include <QWidget>

class QAbstractButton;
class QVBoxLayout;

// A frameless top-level window with a taller title bar of its own that holds the close, minimise and
// zoom buttons. The content below the bar is swapped with setContentView().
class FramedWindow : public QWidget {
    Q_OBJECT
public:
    explicit FramedWindow(QWidget *parent = nullptr);

    static constexpr double kTitlebarHeight = 30.0;
    double buttonOriginX = 12.0;
    // close, minimise, zoom
    const QList<QAbstractButton *> &buttons() const { return buttons_; }

    // The old content view is deleted; the window keeps its size.
    void setContentView(QWidget *view);
    QWidget *contentView() const { return content_; }
    QWidget *titleBar() const { return titleBar_; }

    void updateTitleBarOfWindow(bool fullScreen);

protected:
    virtual void windowDidLoad();
    void changeEvent(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    QWidget *titleBar_ = nullptr;
    QVBoxLayout *layout_ = nullptr;
    QPointer<QWidget> content_;
    QList<QAbstractButton *> buttons_;
    bool loaded_ = false;
};
