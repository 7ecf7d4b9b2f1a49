#pragma once

#include <QList>
#include <QMessageBox>
#include <QObject>
#include <QString>
#include <functional>

// Answers the message boxes of this program while it lives, for unattended runs and tests: each
// box is recorded as it shows and then closed with "确认", or with its other button when the
// provider says no.
class MessageBoxAnswerer : public QObject {
    Q_OBJECT
public:
    struct Request {
        QString title;
        QString text;
        QMessageBox::Icon style = QMessageBox::Warning;
        bool twoButtons = false;  // "确认" and "取消", else "确认" alone
        bool windowModal = false; // modal to a window of ours, not to the whole program
    };
    using Provider = std::function<bool(const Request &)>;

    explicit MessageBoxAnswerer(Provider provider, QObject *parent = nullptr);
    ~MessageBoxAnswerer() override;

    const QList<Request> &shown() const { return shown_; }
    void clearShown() { shown_.clear(); }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    Provider provider_;
    QList<Request> shown_;
};
