#include "waylandsession.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QThread>
#include <functional>
#include <unistd.h>

namespace {

// sway refuses to run as root; under root the session runs as this user instead.
constexpr uid_t sessionUser = 65534;

QString readFile(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// The first container that matches, depth first through tiled and floating children.
QJsonObject find(const QJsonObject &node, const std::function<bool(const QJsonObject &)> &matches) {
    if (matches(node))
        return node;
    for (const char *key : {"nodes", "floating_nodes"})
        for (const QJsonValue &child : node.value(QLatin1String(key)).toArray())
            if (QJsonObject found = find(child.toObject(), matches); !found.isEmpty())
                return found;
    return {};
}

} // namespace

WaylandSession::~WaylandSession() {
    stop();
}

bool WaylandSession::start() {
    if (!dir_.isValid())
        return false;
    const bool root = geteuid() == 0;
    const QString runtime = dir_.filePath(QStringLiteral("runtime"));
    const QString ready = runtime + QStringLiteral("/session");
    QDir().mkpath(runtime);
    QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    if (root && (chown(qPrintable(dir_.path()), sessionUser, sessionUser) != 0 ||
                 chown(qPrintable(runtime), sessionUser, sessionUser) != 0))
        return false;

    // The session announces its sockets once it runs: the compositor sets both variables for what
    // it starts. Under root, XWayland runs as the session's user and lets this process in by name.
    const QString allow = root ? QStringLiteral("xhost +si:localuser:root >/dev/null && ") : QString();
    const QString announce =
        QStringLiteral("%2printf '%s\\n%s\\n' \"$WAYLAND_DISPLAY\" \"$DISPLAY\" > %1.part && mv %1.part %1")
            .arg(ready, allow);
    QStringList args;
    if (compositor_ == Compositor::Sway) {
        // Only the test moves the focus: the pointer that sits still in the middle of the screen
        // would otherwise focus whichever window a new layout puts under it.
        QFile config(dir_.filePath(QStringLiteral("config")));
        if (!config.open(QIODevice::WriteOnly))
            return false;
        config.write(QStringLiteral("output HEADLESS-1 resolution 1280x800\n"
                                    "xwayland enable\n"
                                    "focus_on_window_activation focus\n"
                                    "exec %1\n")
                         .arg(announce)
                         .toUtf8());
        config.close();
        args = QStringList{QStringLiteral("sway"), QStringLiteral("-c"), config.fileName()};
    } else {
        // cage shows one program and ends with it: a shell that announces the session and waits.
        args = QStringList{QStringLiteral("cage"), QStringLiteral("--"), QStringLiteral("sh"),
                           QStringLiteral("-c"), announce + QStringLiteral("; exec sleep 86400")};
    }

    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const char *name : {"WAYLAND_DISPLAY", "DISPLAY", "SWAYSOCK", "I3SOCK"})
        env.remove(QLatin1String(name));
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);
    env.insert(QStringLiteral("HOME"), dir_.path());
    env.insert(QStringLiteral("WLR_BACKENDS"), QStringLiteral("headless"));
    env.insert(QStringLiteral("WLR_LIBINPUT_NO_DEVICES"), QStringLiteral("1"));
    env.insert(QStringLiteral("WLR_RENDERER"), QStringLiteral("pixman"));
    compositorProcess_.setProcessEnvironment(env);
    compositorProcess_.setProcessChannelMode(QProcess::MergedChannels);
    compositorProcess_.setStandardOutputFile(dir_.filePath(QStringLiteral("compositor.log")));
    if (root)
        args = QStringList{QStringLiteral("--reuid=%1").arg(sessionUser),
                           QStringLiteral("--regid=%1").arg(sessionUser), QStringLiteral("--clear-groups")} +
               args;
    compositorProcess_.start(root ? QStringLiteral("setpriv") : args.takeFirst(), args);
    if (!compositorProcess_.waitForStarted(5000))
        return false;

    QDeadlineTimer deadline(20000);
    QStringList lines;
    while (lines.size() < 2 && !deadline.hasExpired() && compositorProcess_.state() == QProcess::Running) {
        QThread::msleep(20);
        lines = readFile(ready).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }
    const QStringList sockets = QDir(runtime).entryList({QStringLiteral("sway-ipc.*.sock")}, QDir::System);
    if (lines.size() < 2 || (compositor_ == Compositor::Sway && sockets.isEmpty())) {
        qWarning("the compositor did not start; its log:\n%s",
                 qPrintable(readFile(dir_.filePath(QStringLiteral("compositor.log")))));
        return false;
    }
    // An absolute path: this process keeps its own runtime folder.
    wayland_ = runtime + QLatin1Char('/') + lines[0];
    display_ = lines[1];
    socket_ = sockets.isEmpty() ? QString() : runtime + QLatin1Char('/') + sockets.first();
    qputenv("WAYLAND_DISPLAY", wayland_.toLocal8Bit());
    qputenv("DISPLAY", display_.toLocal8Bit());
    qputenv("XDG_SESSION_TYPE", "wayland");
    if (socket_.isEmpty())
        qunsetenv("SWAYSOCK");
    else
        qputenv("SWAYSOCK", socket_.toLocal8Bit());
    qputenv("QT_QPA_PLATFORM", "xcb");
    return true;
}

void WaylandSession::stop() {
    if (compositorProcess_.state() == QProcess::NotRunning)
        return;
    compositorProcess_.terminate();
    if (!compositorProcess_.waitForFinished(5000)) {
        compositorProcess_.kill();
        compositorProcess_.waitForFinished(1000);
    }
}

QString WaylandSession::swaymsg(const QStringList &args, bool *ok) const {
    QProcess msg;
    msg.start(QStringLiteral("swaymsg"), QStringList{QStringLiteral("-s"), socket_} + args);
    const bool done = msg.waitForFinished(10000) && msg.exitStatus() == QProcess::NormalExit;
    if (ok)
        *ok = done && msg.exitCode() == 0;
    return QString::fromUtf8(msg.readAllStandardOutput());
}

bool WaylandSession::command(const QString &text) const {
    bool ok = false;
    swaymsg({text}, &ok);
    return ok;
}

QJsonObject WaylandSession::tree() const {
    bool ok = false;
    const QString json = swaymsg({QStringLiteral("-t"), QStringLiteral("get_tree")}, &ok);
    return ok ? QJsonDocument::fromJson(json.toUtf8()).object() : QJsonObject();
}

QString WaylandSession::focusedAppId() const {
    const QJsonObject node =
        find(tree(), [](const QJsonObject &n) { return n.value(QStringLiteral("focused")).toBool(); });
    const QString appId = node.value(QStringLiteral("app_id")).toString();
    if (!appId.isEmpty())
        return appId;
    return node.value(QStringLiteral("window_properties"))
        .toObject()
        .value(QStringLiteral("class"))
        .toString();
}

QRect WaylandSession::windowRect(quint64 x11Window) const {
    const QJsonObject node = find(tree(), [x11Window](const QJsonObject &n) {
        return n.value(QStringLiteral("window")).toInteger() == qint64(x11Window);
    });
    if (node.isEmpty())
        return {};
    auto rect = [&node](const char *key) {
        const QJsonObject r = node.value(QLatin1String(key)).toObject();
        return QRect(r.value(QStringLiteral("x")).toInt(), r.value(QStringLiteral("y")).toInt(),
                     r.value(QStringLiteral("width")).toInt(), r.value(QStringLiteral("height")).toInt());
    };
    // The node's rect leaves out the title bar above it.
    return rect("rect").adjusted(0, -rect("deco_rect").height(), 0, 0);
}
