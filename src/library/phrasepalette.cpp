#include "library/phrasepalette.h"

#include "desktop/desktopbackend.h"
#include "desktop/desktopsession.h"
#include "desktop/x11/quickbarshortcuts.h"
#include "library/phraseidmodel.h"
#include "library/phraselistview.h"
#include "model/logging.h"
#include "send/phrasesender.h"
#include "send/targetwindowtracker.h"
#include "store/phrasestore.h"
#include "ui/palettestylesheet.h"
#include "ui/themecolors.h"

#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QScreen>
#include <QVBoxLayout>

PhrasePalette::PhrasePalette(PhraseStore &store, const QString &username, QWidget *parent)
    : QWidget(parent, Qt::Dialog | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint), store_(store),
      username_(username) {
    setWindowTitle(QStringLiteral("Quillora"));
    // Open or not, it never keeps the program running.
    setAttribute(Qt::WA_QuitOnClose, false);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->setSpacing(6);
    field_ = new QLineEdit(this);
    field_->setPlaceholderText(QString::fromUtf8("搜索全部短语"));
    field_->setFixedHeight(36);
    PaletteStyleSheet::apply(field_, [](const QPalette &p) {
        using namespace ThemeColors;
        return QStringLiteral("QLineEdit{border:1px solid %1;border-radius:6px;padding:0 10px;font-size:15px;"
                              "background:%2;color:%3;}")
            .arg(css(accent()), css(p.color(QPalette::Base)), css(text(p)));
    });
    field_->installEventFilter(this);
    layout->addWidget(field_);

    list_ = new PhraseListView(store_, PhraseRowDelegate::Layout::TwoLines, this);
    list_->setFocusPolicy(Qt::NoFocus);
    list_->setSelectionMode(QAbstractItemView::SingleSelection);
    list_->setFixedHeight(visibleRows * list_->rowDelegate()->sizeHint({}, {}).height());
    layout->addWidget(list_);
    empty_ = new QLabel(this);
    empty_->setAlignment(Qt::AlignCenter);
    empty_->setFixedHeight(list_->height());
    layout->addWidget(empty_);
    connect(field_, &QLineEdit::textChanged, this, &PhrasePalette::search);
    connect(list_, &PhraseListView::sendRequested, this, [this](int row, bool pressEnter) {
        list_->setCurrentIndex(list_->model()->index(row, 0));
        sendCurrent(pressEnter);
    });

    setFixedSize(paletteWidth, sizeHint().height());
    search(QString());
}

void PhrasePalette::sendThrough(PhraseSender &sender, TargetWindowTracker &tracker, DesktopBackend &desktop) {
    connect(this, &PhrasePalette::sendRequested, &sender,
            [&sender](const Phrase &phrase, bool pressEnter) { sender.send(phrase.content, pressEnter); });
    connect(this, &PhrasePalette::dismissed, &tracker, [&tracker, &desktop] {
        if (const std::optional<RunningApplication> target = tracker.lastTarget())
            desktop.activate(*target);
    });
}

bool PhrasePalette::setShortcut(const QString &shortcut) {
    delete shortcut_;
    shortcut_ = nullptr;
    if (shortcut.trimmed().isEmpty())
        return true;
    const auto parsed = QuickBarShortcuts::parseShortcut(shortcut);
    if (!parsed) {
        qCInfo(lcLibrary, "palette shortcut: cannot read \"%s\" (use a form such as Ctrl+Shift+Space)",
               qUtf8Printable(shortcut));
        return false;
    }
    shortcut_ = new QuickBarShortcuts({parsed->second}, QStringLiteral("palette shortcut"), this);
    connect(shortcut_, &QuickBarShortcuts::pressed, this, &PhrasePalette::present);
    return shortcut_->setModifiers(parsed->first);
}

void PhrasePalette::present() {
    field_->clear();
    // Where the desktop took the keyboard from the hidden box without telling (XWayland under sway),
    // Qt would take the next focus for the one it thinks the box still has and not activate it: the
    // box starts over with a new native window.
    if (!isVisible() && windowHandle() && QGuiApplication::focusWindow() == windowHandle())
        destroy();
    QScreen *screen = QGuiApplication::screenAt(QCursor::pos());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    if (screen) {
        const QRect area = screen->availableGeometry();
        // A little above the middle, where the eye goes first.
        move(area.center().x() - width() / 2, area.top() + (area.height() - height()) * 2 / 5);
    }
    show();
    raise();
    activateWindow();
    DesktopSession::focusOwnWindow(winId());
    field_->setFocus(Qt::ActiveWindowFocusReason);
}

void PhrasePalette::search(const QString &text) {
    const QString key = text.trimmed();
    const QList<qint64> ids = key.isEmpty() ? QList<qint64>() : store_.searchIds(key, username_);
    list_->phraseModel()->setIds(ids, key);
    if (!ids.isEmpty())
        list_->setCurrentIndex(list_->model()->index(0, 0));
    empty_->setText(key.isEmpty()
                        ? QString::fromUtf8("输入关键词搜索全部分类，Enter 发送，Shift+Enter 发送并回车")
                        : QString::fromUtf8("没有找到匹配的短语"));
    list_->setVisible(!ids.isEmpty());
    empty_->setVisible(ids.isEmpty());
}

void PhrasePalette::moveSelection(int by) {
    const int rows = list_->model()->rowCount();
    if (rows == 0)
        return;
    const int row = qBound(0, list_->currentIndex().row() + by, rows - 1);
    list_->setCurrentIndex(list_->model()->index(row, 0));
}

void PhrasePalette::sendCurrent(bool pressEnter) {
    const std::optional<Phrase> phrase = list_->phraseModel()->phraseAt(list_->currentIndex().row());
    if (!phrase)
        return;
    // Closed first: the send gives the keyboard back to the window that had it.
    hide();
    Q_EMIT sendRequested(*phrase, pressEnter);
}

bool PhrasePalette::eventFilter(QObject *watched, QEvent *event) {
    if (watched != field_ || event->type() != QEvent::KeyPress)
        return QWidget::eventFilter(watched, event);
    const auto *key = static_cast<QKeyEvent *>(event);
    switch (key->key()) {
    case Qt::Key_Down:
        moveSelection(1);
        return true;
    case Qt::Key_Up:
        moveSelection(-1);
        return true;
    case Qt::Key_PageDown:
        moveSelection(visibleRows);
        return true;
    case Qt::Key_PageUp:
        moveSelection(-visibleRows);
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        sendCurrent(key->modifiers() & Qt::ShiftModifier);
        return true;
    case Qt::Key_Escape:
        hide();
        Q_EMIT dismissed();
        return true;
    default:
        return QWidget::eventFilter(watched, event);
    }
}

void PhrasePalette::changeEvent(QEvent *event) {
    QWidget::changeEvent(event);
    // Clicking elsewhere closes it, as a menu would: it holds the keyboard only while in use.
    if (event->type() == QEvent::ActivationChange && isVisible() && !isActiveWindow())
        hide();
}

void PhrasePalette::paintEvent(QPaintEvent *) {
    QPainter p(this);
    p.fillRect(rect(), palette().color(QPalette::Window));
    p.setPen(ThemeColors::separator(palette()));
    p.drawRect(rect().adjusted(0, 0, -1, -1));
}
