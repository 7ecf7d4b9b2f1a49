#pragma once

#include <QString>
#include <functional>

// Outcome of signing in: the account name as the service spells it, or the text to show.
class LoginResult {
public:
    static LoginResult ok(QString username) { return LoginResult(true, std::move(username)); }
    static LoginResult error(QString msg) { return LoginResult(false, std::move(msg)); }

    bool isOk() const { return ok_; }
    const QString &username() const { return text_; }
    const QString &msg() const { return text_; }

private:
    LoginResult(bool ok, QString text) : ok_(ok), text_(std::move(text)) {}
    bool ok_;
    QString text_;
};

using LoginHandler = std::function<void(const LoginResult &)>;
