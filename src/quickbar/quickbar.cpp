#include "quickbar/quickbar.h"

#include "desktop/desktopsession.h"
#include "desktop/x11/quickbarshortcuts.h"
#include "model/logging.h"
#include "model/settings.h"
#include "quickbar/quickbarslot.h"
#include "send/phrasesender.h"
#include "ui/palettestylesheet.h"
#include "ui/themecolors.h"

#include <QGuiApplication>
#include <QHBoxLayout>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QToolButton>

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <algorithm>

namespace {

constexpr int margin = 6;
constexpr int sideButtonWidth = 44;

QIcon drawnIcon(const std::function<void(QPainter &)> &draw) {
    QPixmap pixmap(QSize(36, 36));
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    p.scale(2, 2); // drawn on an 18 x 18 grid, sharp on high-density screens too
    draw(p);
    p.end();
    pixmap.setDevicePixelRatio(2);
    return QIcon(pixmap);
}

QIcon searchIcon(const QColor &color) {
    return drawnIcon([color](QPainter &p) {
        p.setPen(QPen(color, 1.8, Qt::SolidLine, Qt::RoundCap));
        p.drawEllipse(QRectF(3, 3, 9, 9));
        p.drawLine(QPointF(10.8, 10.8), QPointF(15, 15));
    });
}

QIcon closeIcon(const QColor &color) {
    return drawnIcon([color](QPainter &p) {
        p.setPen(QPen(color, 1.6, Qt::SolidLine, Qt::RoundCap));
        p.drawLine(QPointF(5.5, 5.5), QPointF(12.5, 12.5));
        p.drawLine(QPointF(12.5, 5.5), QPointF(5.5, 12.5));
    });
}

QToolButton *sideButton(QWidget *parent, const QString &tip, int width) {
    auto *button = new QToolButton(parent);
    button->setIconSize(QSize(18, 18));
    button->setFixedSize(width, QuickBarSlot::itemHeight);
    button->setFocusPolicy(Qt::NoFocus);
    button->setCursor(Qt::PointingHandCursor);
    button->setToolTip(tip);
    button->setAccessibleName(tip);
    PaletteStyleSheet::apply(button, [](const QPalette &p) {
        using ThemeColors::css;
        return QStringLiteral(
                   "QToolButton { background: %1; border: none; border-radius: %2px; } "
                   "QToolButton:hover { border: 1px solid %3; } QToolButton:pressed { background: %4; }")
            .arg(css(QuickBarSlot::background(p)))
            .arg(QuickBarSlot::cornerRadius)
            .arg(css(QuickBarSlot::outline(p, false)), css(QuickBarSlot::pressedBackground(p)));
    });
    return button;
}

// What the slot's tooltip shows of a phrase: its text, or the picture mark when it has none.
QString preview(const Phrase &word) {
    QString text = word.texts;
    if (text.isEmpty())
        text = word.content.joinedText().value_or(QString());
    text = text.simplified();
    if (text.isEmpty())
        return QStringLiteral("[图]");
    return text.size() > 80 ? text.left(79) + QChar(0x2026) : text;
}

// Asks the window manager to keep the strip on every workspace and out of task lists. Qt writes the
// window's state itself when mapping it, so the request goes to the manager once it is shown.
void askForDockLikeState(WId window) {
    Display *display = XOpenDisplay(nullptr);
    if (!display)
        return;
    const Window root = DefaultRootWindow(display);
    for (const char *name :
         {"_NET_WM_STATE_STICKY", "_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER"}) {
        XEvent event{};
        event.xclient.type = ClientMessage;
        event.xclient.window = Window(window);
        event.xclient.message_type = XInternAtom(display, "_NET_WM_STATE", False);
        event.xclient.format = 32;
        event.xclient.data.l[0] = 1; // add
        event.xclient.data.l[1] = long(XInternAtom(display, name, False));
        event.xclient.data.l[3] = 1; // from an application
        XSendEvent(display, root, False, SubstructureRedirectMask | SubstructureNotifyMask, &event);
    }
    // Managers without the sticky state put a window on every workspace through its desktop number.
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = Window(window);
    event.xclient.message_type = XInternAtom(display, "_NET_WM_DESKTOP", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = 0xFFFFFFFFL;
    event.xclient.data.l[1] = 1;
    XSendEvent(display, root, False, SubstructureRedirectMask | SubstructureNotifyMask, &event);
    XSync(display, False);
    XCloseDisplay(display);
}

// Puts a window above the others through the window manager, as a pager would; nothing where the
// manager does not offer that.
void raiseWithoutFocus(WId window) {
    Display *display = XOpenDisplay(nullptr);
    if (!display)
        return;
    const Window root = DefaultRootWindow(display);
    const Atom restack = XInternAtom(display, "_NET_RESTACK_WINDOW", False);
    Atom type = 0;
    int format = 0;
    unsigned long count = 0, after = 0;
    unsigned char *data = nullptr;
    bool offered = false;
    if (XGetWindowProperty(display, root, XInternAtom(display, "_NET_SUPPORTED", False), 0, 4096, False,
                           XA_ATOM, &type, &format, &count, &after, &data) == Success &&
        data && format == 32) {
        const auto *atoms = reinterpret_cast<const Atom *>(data);
        offered = std::find(atoms, atoms + count, restack) != atoms + count;
    }
    if (data)
        XFree(data);
    if (offered) {
        XEvent event{};
        event.xclient.type = ClientMessage;
        event.xclient.window = Window(window);
        event.xclient.message_type = restack;
        event.xclient.format = 32;
        event.xclient.data.l[0] = 2; // from a pager
        event.xclient.data.l[1] = None;
        event.xclient.data.l[2] = Above;
        XSendEvent(display, root, False, SubstructureRedirectMask | SubstructureNotifyMask, &event);
        XSync(display, False);
    }
    XCloseDisplay(display);
}

} // namespace

QuickBar::QuickBar(Settings &settings, PhraseSender &sender, QWidget *parent)
    : QWidget(parent, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                          Qt::WindowDoesNotAcceptFocus | Qt::NoDropShadowWindowHint),
      settings_(settings), sender_(sender) {
    setAttribute(Qt::WA_ShowWithoutActivating);
    // The bar is never the active window, and tooltips are otherwise only shown in that one.
    setAttribute(Qt::WA_AlwaysShowToolTips);
    // A bar left on screen must not keep the program running, nor hold it up.
    setAttribute(Qt::WA_QuitOnClose, false);
    setFocusPolicy(Qt::NoFocus);
    setWindowTitle(QStringLiteral("Quillora"));
    // Through XWayland a wlroots compositor focuses every managed window it maps, whatever its
    // hints; one that bypasses the manager it leaves alone (a utility window never takes focus).
    if (DesktopSession::detect(QProcessEnvironment::systemEnvironment()) == DesktopSession::Kind::Wayland)
        setWindowFlag(Qt::X11BypassWindowManagerHint);

    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(margin, margin, margin, margin);
    row->setSpacing(itemSpacing);

    close_ = sideButton(this, QStringLiteral("关闭"), 26);
    connect(close_, &QToolButton::clicked, this, &QWidget::hide);
    row->addWidget(close_);
    row->addSpacing(6);

    for (int i = 0; i < numberOfItems; ++i) {
        auto *item = new QuickBarSlot(i, QStringLiteral("F%1").arg(i + 1), this);
        connect(item, &QuickBarSlot::highlighted, this, &QuickBar::slotHovered);
        connect(item, &QuickBarSlot::clicked, this, &QuickBar::slotTapped);
        items_.append(item);
        row->addWidget(item);
    }

    row->addSpacing(6);
    search_ = sideButton(this, QStringLiteral("搜索"), sideButtonWidth);
    connect(search_, &QToolButton::clicked, this, &QuickBar::searchClicked);
    row->addWidget(search_);

    paintIcons();
    setFixedSize(sizeHint());
}

void QuickBar::paintIcons() {
    const QColor color = palette().color(QPalette::WindowText);
    close_->setIcon(closeIcon(color));
    search_->setIcon(QIcon::fromTheme(QStringLiteral("edit-find"), searchIcon(color)));
}

void QuickBar::changeEvent(QEvent *event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        paintIcons();
}

QuickBar::~QuickBar() = default;

void QuickBar::setListSource(ListSource list, RowSelector select) {
    list_ = std::move(list);
    select_ = std::move(select);
}

void QuickBar::setHomeWindow(QWidget *window) {
    homeWindow_ = window;
}

void QuickBar::setSearchField(QWidget *field) {
    searchField_ = field;
}

void QuickBar::searchClicked() {
    if (homeWindow_) {
        // Here the program does take the focus: the agent is about to type a search.
        homeWindow_->close();
        homeWindow_->show();
        homeWindow_->raise();
        homeWindow_->activateWindow();
    }
    if (searchField_)
        searchField_->setFocus(Qt::OtherFocusReason);
    Q_EMIT searchClick();
}

bool QuickBar::setShortcutModifiers(const QString &modifiers) {
    if (modifiers.trimmed().isEmpty()) {
        delete keys_;
        keys_ = nullptr;
        return true;
    }
    if (!keys_) {
        keys_ = new QuickBarShortcuts(this);
        connect(keys_, &QuickBarShortcuts::pressed, this, &QuickBar::slotTapped);
    }
    return keys_->setModifiers(modifiers);
}

bool QuickBar::applyShortcutSetting() {
    return setShortcutModifiers(settings_.quickBarShortcuts());
}

void QuickBar::present() {
    if (!placed_)
        placeOnScreen();
    const bool mapping = !isVisible();
    show();
    raise();
    if (mapping && QGuiApplication::platformName() == QLatin1String("xcb"))
        askForDockLikeState(winId());
}

void QuickBar::placeOnScreen() {
    const QStringList saved = settings_.quickBarPosition().split(QLatin1Char(','));
    if (saved.size() == 2) {
        const QPoint at(saved[0].toInt(), saved[1].toInt());
        // Only where it is still fully on a screen (a monitor may have gone since).
        for (QScreen *screen : QGuiApplication::screens()) {
            if (screen->availableGeometry().contains(QRect(at, size()))) {
                move(at);
                placed_ = true;
                return;
            }
        }
    }
    QScreen *screen = QGuiApplication::screenAt(QCursor::pos());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    if (!screen)
        return;
    // Bottom centre, where a strip of function keys is expected, clear of a panel at the bottom, and
    // left of the home window where that is docked.
    const QRect area = screen->availableGeometry();
    QRect strip(QPoint(area.center().x() - width() / 2, area.bottom() - height() - 12), size());
    if (homeWindow_ && homeWindow_->isVisible() && homeWindow_->frameGeometry().intersects(strip)) {
        strip.moveRight(homeWindow_->frameGeometry().left() - 12);
        if (strip.left() < area.left())
            strip.moveLeft(area.left());
    }
    move(strip.topLeft());
    placed_ = true;
}

std::optional<Phrase> QuickBar::phraseAt(int index) const {
    if (!list_ || index < 0)
        return std::nullopt;
    return list_(index);
}

void QuickBar::slotHovered(int index) {
    const std::optional<Phrase> word = phraseAt(index);
    if (QuickBarSlot *slot = item(index))
        slot->setToolTip(!word ? QString()
                         : badge_ && !badge_(*word).isEmpty()
                             ? QLatin1Char('[') + badge_(*word) + QStringLiteral("] ") + preview(*word)
                             : preview(*word));
    if (!word)
        return;
    if (select_)
        select_(index);
    Q_EMIT highlighted(index);
}

void QuickBar::slotTapped(int index) {
    const std::optional<Phrase> word = phraseAt(index);
    // Cleared whatever happens, so the same slot can be tapped again.
    for (QuickBarSlot *slot : std::as_const(items_))
        slot->setSelected(false);
    if (!word)
        return;
    if (homeWindow_) {
        // The home window comes forward to show what went out, but without activation: on X11 that
        // would take the keyboard focus from the chat program. The tracker never takes this program
        // as the target, and the send activates the target itself.
        const bool quiet = homeWindow_->testAttribute(Qt::WA_ShowWithoutActivating);
        homeWindow_->setAttribute(Qt::WA_ShowWithoutActivating, true);
        if (homeWindow_->isMinimized())
            homeWindow_->showNormal();
        homeWindow_->show();
        // On X11 only through the manager, or not at all: xfwm4 takes a plain raise for a request to
        // focus, even of a window that is shown without activation.
        if (QGuiApplication::platformName() == QLatin1String("xcb"))
            raiseWithoutFocus(homeWindow_->winId());
        else
            homeWindow_->raise();
        homeWindow_->setAttribute(Qt::WA_ShowWithoutActivating, quiet);
    }
    qCInfo(lcQuickBar, "send %s", qUtf8Printable(word->jsonValue));
    sender_.send(word->content, true);
    Q_EMIT tapped(index);
}

int QuickBar::selectedIndex() const {
    for (QuickBarSlot *slot : items_)
        if (slot->isSelected())
            return slot->index();
    return -1;
}

void QuickBar::paintEvent(QPaintEvent *) {
    QPainter p(this);
    p.fillRect(rect(), palette().color(QPalette::Window));
    p.setPen(ThemeColors::separator(palette()));
    p.drawRect(rect().adjusted(0, 0, -1, -1));
}

// The strip has no frame: it is moved by dragging its background.
void QuickBar::mousePressEvent(QMouseEvent *event) {
    if (event->button() == Qt::LeftButton) {
        dragOffset_ = event->globalPosition().toPoint() - frameGeometry().topLeft();
        moved_ = false;
    }
}

void QuickBar::mouseMoveEvent(QMouseEvent *event) {
    if (dragOffset_ && (event->buttons() & Qt::LeftButton)) {
        move(event->globalPosition().toPoint() - *dragOffset_);
        moved_ = true;
    }
}

void QuickBar::mouseReleaseEvent(QMouseEvent *) {
    if (dragOffset_ && moved_)
        settings_.setQuickBarPosition(QStringLiteral("%1,%2").arg(x()).arg(y()));
    dragOffset_.reset();
}
