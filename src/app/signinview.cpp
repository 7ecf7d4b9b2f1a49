#include "app/signinview.h"

#include "app/webviewmodule.h"
#include "cloud/cloudclient.h"
#include "cloud/versiongate.h"
#include "desktop/windowutils.h"
#include "model/logging.h"
#include "model/settings.h"
#include "ui/messagebox.h"
#include "ui/palettestylesheet.h"
#include "ui/themecolors.h"

#include <QCheckBox>
#include <QDesktopServices>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QSvgRenderer>
#include <QTimer>
#include <QVBoxLayout>
#include <QWindow>

static void initLoginResources() {
    Q_INIT_RESOURCE(app);
}

SignInView::SignInView(Settings &settings, CloudClient &cloud, WebViewModule &webView, QWidget *parent)
    : QWidget(parent), settings_(settings), cloud_(cloud), webView_(webView) {
    initLoginResources();
    setAutoFillBackground(true);
    PaletteStyleSheet::apply(this, [](const QPalette &p) {
        using namespace ThemeColors;
        const QColor accent = ThemeColors::accent();
        return QStringLiteral(
                   "QLineEdit{border:1px solid %1;border-radius:8px;padding:0 12px;min-height:38px;"
                   "background:%2;color:%3;font-size:14px;}"
                   "QLineEdit:focus{border-color:%4;background:%5;}"
                   "QPushButton#login{background:%4;color:white;border:0;border-radius:8px;min-height:40px;"
                   "font-size:15px;font-weight:600;}"
                   "QPushButton#login:hover{background:%6;}"
                   "QPushButton#login:disabled{background:%7;}"
                   "QPushButton[link=\"true\"]{border:0;background:transparent;color:%8;font-size:13px;}"
                   "QPushButton[link=\"true\"]:hover{text-decoration:underline;}"
                   "QCheckBox{color:%9;font-size:13px;}")
            .arg(css(separator(p)), css(subtleFill(p)), css(text(p)), css(accent),
                 css(p.color(QPalette::Base)), css(accent.darker(112)),
                 css(mix(accent, p.color(QPalette::Window), 0.55)), css(p.color(QPalette::Link)),
                 css(mix(text(p), p.color(QPalette::Window), 0.2)));
    });

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(36, 18, 36, 22);
    layout->setSpacing(0);

    auto *logo = new QLabel(this);
    logo->setFixedSize(64, 64);
    logo->setPixmap(QIcon(":/icon.svg").pixmap(64, 64));
    auto *title = new QLabel("Quillora", this);
    title->setAlignment(Qt::AlignHCenter);
    title->setStyleSheet("font-size:22px;font-weight:700;");
    auto *subtitle = new QLabel(QString::fromUtf8("常用回复，一键发送"), this);
    subtitle->setAlignment(Qt::AlignHCenter);
    PaletteStyleSheet::apply(subtitle, [](const QPalette &p) {
        return QStringLiteral("color:%1;font-size:13px;").arg(ThemeColors::css(ThemeColors::mutedText(p)));
    });
    layout->addWidget(logo, 0, Qt::AlignHCenter);
    layout->addSpacing(10);
    layout->addWidget(title);
    layout->addSpacing(4);
    layout->addWidget(subtitle);
    layout->addSpacing(26);

    usernameText = new QLineEdit(this);
    usernameText->setPlaceholderText(QString::fromUtf8("账号"));
    passwordText = new QLineEdit(this);
    passwordText->setPlaceholderText(QString::fromUtf8("密码"));
    passwordText->setEchoMode(QLineEdit::Password);
    layout->addWidget(usernameText);
    layout->addSpacing(12);
    layout->addWidget(passwordText);
    layout->addSpacing(12);

    checkBox = new QCheckBox(QString::fromUtf8("记住密码"), this);
    layout->addWidget(checkBox);
    layout->addSpacing(16);

    loginButton = new QPushButton(QString::fromUtf8("登录"), this);
    loginButton->setObjectName("login");
    loginButton->setCursor(Qt::PointingHandCursor);
    loginButton->setDefault(true);
    layout->addWidget(loginButton);
    layout->addSpacing(8);

    status_ = new QLabel(this);
    status_->setAlignment(Qt::AlignHCenter);
    PaletteStyleSheet::apply(status_, [](const QPalette &p) {
        return QStringLiteral("color:%1;font-size:12px;").arg(ThemeColors::css(ThemeColors::mutedText(p)));
    });
    status_->setFixedHeight(18);
    layout->addWidget(status_);
    layout->addStretch(1);

    auto *links = new QHBoxLayout;
    links->setSpacing(6);
    registerLink = new QPushButton(QString::fromUtf8("注册账号"), this);
    resetLink = new QPushButton(QString::fromUtf8("忘记密码"), this);
    auto *bar = new QLabel("|", this);
    PaletteStyleSheet::apply(bar, [](const QPalette &p) {
        return QStringLiteral("color:%1;").arg(ThemeColors::css(ThemeColors::separator(p)));
    });
    for (QPushButton *b : {registerLink, resetLink}) {
        b->setProperty("link", true);
        b->setCursor(Qt::PointingHandCursor);
        b->setFocusPolicy(Qt::NoFocus);
    }
    links->addStretch(1);
    links->addWidget(registerLink);
    links->addWidget(bar);
    links->addWidget(resetLink);
    links->addStretch(1);
    layout->addLayout(links);

    connect(loginButton, &QPushButton::clicked, this, &SignInView::loginButtonClick);
    connect(passwordText, &QLineEdit::returnPressed, loginButton, &QPushButton::click);
    connect(registerLink, &QPushButton::clicked, this, &SignInView::openRegister);
    connect(resetLink, &QPushButton::clicked, this, &SignInView::openReset);

    if (settings_.rememberPassword()) {
        checkBox->setChecked(true);
        usernameText->setText(settings_.username());
        passwordText->setText(settings_.password());
    }
}

void SignInView::showEvent(QShowEvent *event) {
    QWidget::showEvent(event);
    if (appeared_)
        return;
    appeared_ = true;
    checkVersion();
}

void SignInView::setStatus(const QString &text) {
    status_->setText(text);
}

std::optional<std::pair<QString, QString>> SignInView::autoLogin() {
    const QString value = qEnvironmentVariable("QUILLORA_AUTOLOGIN");
    const qsizetype colon = value.indexOf(QLatin1Char(':'));
    if (colon <= 0)
        return std::nullopt;
    return std::make_pair(value.left(colon), value.mid(colon + 1));
}

void SignInView::checkVersion() {
    if (QWidget *w = window(); w && w->windowHandle())
        WindowUtils::moveToCenter(w->windowHandle());
    loginButton->setEnabled(false);
    setStatus(QString::fromUtf8("正在连接服务…"));
    QPointer<SignInView> self(this);
    const QString webAddress = cloud_.webAddress();
    cloud_.checkVersion([self, webAddress](const std::optional<QJsonValue> &reply) {
        const VersionGate gate = VersionGate::judge(reply);
        QWidget *w = self ? self->window() : nullptr;
        switch (gate.kind()) {
        case VersionGate::Kind::NetworkFailure:
            MessageBox::show(QString::fromUtf8("失败"), gate.error(), w, QMessageBox::Critical, [self] {
                if (self)
                    Q_EMIT self->endRequested(1);
            });
            return;
        case VersionGate::Kind::UpdateRequired: {
            const QUrl url = gate.url();
            MessageBox::show(QString::fromUtf8("请更新"), VersionGate::updateMessage(webAddress), w,
                             QMessageBox::Warning, [self, url] {
                                 QDesktopServices::openUrl(url);
                                 if (self)
                                     Q_EMIT self->endRequested(1);
                             });
            return;
        }
        case VersionGate::Kind::Ready:
            break;
        }
        if (!self)
            return;
        self->loginButton->setEnabled(true);
        self->setStatus(QString());
        Q_EMIT self->ready();
        if (const auto account = autoLogin()) {
            self->usernameText->setText(account->first);
            self->passwordText->setText(account->second);
            self->loginButton->click();
        }
    });
}

void SignInView::loginButtonClick() {
    const QString password = passwordText->text();
    setStatus(QString::fromUtf8("正在登录…"));
    QPointer<SignInView> self(this);
    cloud_.signIn(usernameText->text(), password, [self, password](const Result<QString> &result) {
        if (!self)
            return;
        self->setStatus(QString());
        if (!result) {
            Q_EMIT self->loginFailed(result.error());
            MessageBox::show(QString::fromUtf8("登录失败"), result.error(), self->window(),
                             QMessageBox::Warning);
            return;
        }
        const QString name = result.value();
        qCInfo(lcApp, "set username = %s", qUtf8Printable(name));
        self->settings_.setUsername(name);
        const bool remember = self->checkBox->isChecked();
        self->settings_.setPassword(remember ? password : QString());
        self->settings_.setRememberPassword(remember);
        Q_EMIT self->signedIn(name);
    });
}

void SignInView::openRegister() {
    webView_.open(QUrl(cloud_.registerUrl()), window());
}

void SignInView::openReset() {
    webView_.open(QUrl(cloud_.resetUrl()), window());
}
