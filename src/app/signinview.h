#pragma once

#include <QSize>
#include <QWidget>
#include <optional>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class CloudClient;
class WebViewModule;
class Settings;

// The sign-in view: version gate, account and password, remember-password, and the links to the
// service's registration and reset pages. The application object starts the session on success.
//
// QUILLORA_AUTOLOGIN=name:password signs in with that account as soon as the gate lets it.
class SignInView : public QWidget {
    Q_OBJECT
public:
    // The web view shows the service's register and reset pages.
    SignInView(Settings &settings, CloudClient &cloud, WebViewModule &webView, QWidget *parent = nullptr);

    QLineEdit *usernameText = nullptr;
    QLineEdit *passwordText = nullptr;
    QCheckBox *checkBox = nullptr;
    QPushButton *loginButton = nullptr;
    QPushButton *registerLink = nullptr;
    QPushButton *resetLink = nullptr;

    static constexpr QSize windowSize{360, 480};

    void loginButtonClick();
    void openRegister();
    void openReset();
    // Name and password of QUILLORA_AUTOLOGIN, when it is set and well formed.
    static std::optional<std::pair<QString, QString>> autoLogin();

Q_SIGNALS:
    // The gate let the user through: the sign-in button is enabled.
    void ready();
    void signedIn(const QString &username);
    // The program cannot go on (no service, or this version is too old): end with this status.
    void endRequested(int status);
    void loginFailed(const QString &msg);

protected:
    void showEvent(QShowEvent *event) override;

private:
    void checkVersion();
    void setStatus(const QString &text);

    Settings &settings_;
    CloudClient &cloud_;
    WebViewModule &webView_;
    QLabel *status_ = nullptr;
    bool appeared_ = false;
};
