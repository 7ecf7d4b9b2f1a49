#pragma once

#include <QPointer>
#include <QWidget>

class QVBoxLayout;

// The application's one window: the sign-in view first, then the home view in its place. Its title
// bar and buttons are the desktop's own.
class MainWindow : public QWidget {
    Q_OBJECT
public:
    explicit MainWindow(QWidget *parent = nullptr);

    // The old content view is deleted; the window keeps its size.
    void setContentView(QWidget *view);
    QWidget *contentView() const { return content_; }

private:
    QVBoxLayout *layout_ = nullptr;
    QPointer<QWidget> content_;
};
