#include "desktop/gnome/shellwindows.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusReply>

namespace {

// The extension answers from the shell's main loop: a busy shell is slow, a stopped one never answers.
constexpr int callTimeoutMs = 2000;

ShellWindows::Window readWindow(const QDBusArgument &argument) {
    ShellWindows::Window w;
    argument.beginStructure();
    argument >> w.id >> w.appId >> w.pid >> w.title >> w.focused;
    quint32 x11 = 0;
    argument >> x11;
    w.x11Window = x11;
    argument.endStructure();
    return w;
}

QDBusMessage call(const QDBusConnection &connection, const char *method, const QVariantList &arguments = {}) {
    QDBusMessage message = QDBusMessage::createMethodCall(
        QLatin1String(ShellWindows::service), QLatin1String(ShellWindows::path),
        QLatin1String(ShellWindows::interface), QLatin1String(method));
    message.setArguments(arguments);
    return connection.call(message, QDBus::Block, callTimeoutMs);
}

} // namespace

ShellWindows::ShellWindows(const QDBusConnection &connection) : connection_(connection) {}

std::optional<QList<ShellWindows::Window>> ShellWindows::list() const {
    const QDBusMessage reply = call(connection_, "ListWindows");
    if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != QLatin1String("a(tsisbu)"))
        return std::nullopt;
    QList<Window> windows;
    const auto argument = reply.arguments().at(0).value<QDBusArgument>();
    argument.beginArray();
    while (!argument.atEnd())
        windows.append(readWindow(argument));
    argument.endArray();
    return windows;
}

std::optional<ShellWindows::Front> ShellWindows::focused() const {
    const QDBusMessage reply = call(connection_, "FocusedWindow");
    if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != QLatin1String("(tsisbu)u"))
        return std::nullopt;
    Front front;
    front.window = readWindow(reply.arguments().at(0).value<QDBusArgument>());
    front.modifiers = reply.arguments().at(1).toUInt();
    return front;
}

bool ShellWindows::activate(quint64 id) const {
    const QDBusMessage reply = call(connection_, "Activate", {QVariant::fromValue(id)});
    return reply.type() == QDBusMessage::ReplyMessage && reply.arguments().value(0).toBool();
}

bool ShellWindows::watch(const Window &initial) {
    {
        std::lock_guard lock(mutex_);
        front_ = initial;
    }
    return connection_.connect(QLatin1String(service), QLatin1String(path), QLatin1String(interface),
                               QStringLiteral("FocusChanged"), this, SLOT(onFocusChanged(QDBusMessage)));
}

void ShellWindows::setListener(std::function<void(DesktopBackend::FrontChange)> listener) {
    std::lock_guard lock(mutex_);
    listener_ = std::move(listener);
}

ShellWindows::Window ShellWindows::front() const {
    std::lock_guard lock(mutex_);
    return front_;
}

void ShellWindows::onFocusChanged(const QDBusMessage &message) {
    if (message.signature() != QLatin1String("(tsisbu)"))
        return;
    const Window window = readWindow(message.arguments().at(0).value<QDBusArgument>());
    std::function<void(DesktopBackend::FrontChange)> listener;
    bool sameWindow = false;
    {
        std::lock_guard lock(mutex_);
        // The signal comes for a new window in front and for a new title of the same one.
        sameWindow = front_.id != 0 && front_.id == window.id;
        front_ = window;
        listener = listener_;
    }
    if (listener)
        listener(sameWindow ? DesktopBackend::FrontChange::Title : DesktopBackend::FrontChange::Window);
}
