#pragma once

#include <QList>
#include <QMessageBox>
#include <QString>
#include <functional>

class QWidget;

// Confirmation and notice boxes. "确认" accepts, "取消" cancels.
class MessageBox {
public:
    MessageBox() = delete;

    // What a box would have shown, handed to the answer provider.
    struct Request {
        QString title;
        QString text;
        QMessageBox::Icon style = QMessageBox::Warning;
        bool twoButtons = false; // "确认" and "取消", else "确认" alone
        bool windowModal = false;
    };
    using AnswerProvider = std::function<bool(const Request &)>;

    // While a provider is set no box is shown: the provider answers (true = "确认") and every
    // request is recorded in shown(). Lets automated runs go through flows that ask the user.
    static void setAnswerProvider(AnswerProvider provider);
    static const QList<Request> &shown();
    static void clearShown();

    // Application-modal; true when "确认" ends it.
    static bool showIsOk(const QString &title, const QString &value,
                         QMessageBox::Icon style = QMessageBox::Warning);
    // Modal to `window` only (application-modal when it is null); the callback gets true for "确认".
    static void showIsOk(const QString &title, const QString &value, QWidget *window, QMessageBox::Icon style,
                         std::function<void(bool)> callback);
    // One "确认" button, modal to `window`; the callback runs when the box closes.
    static void show(const QString &title, const QString &value, QWidget *window = nullptr,
                     QMessageBox::Icon style = QMessageBox::Warning, std::function<void()> callback = {});

private:
    static QMessageBox *make(const QString &title, const QString &value, QWidget *window,
                             QMessageBox::Icon style, bool twoButtons, QAbstractButton **okButton);
    static bool answered(const Request &request, bool *answer);
};
