#include "gnomeshellsession.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QThread>
#include <csignal>

namespace {

constexpr const char *waylandName = "quillora-gnome";

QString busAddress(QProcess &daemon, const QProcessEnvironment &environment, const QString &log) {
    daemon.setProcessEnvironment(environment);
    daemon.setStandardErrorFile(log);
    daemon.start(QStringLiteral("dbus-daemon"), {QStringLiteral("--session"), QStringLiteral("--nofork"),
                                                 QStringLiteral("--print-address=1")});
    if (!daemon.waitForStarted(10000))
        return {};
    while (!daemon.canReadLine())
        if (!daemon.waitForReadyRead(10000))
            return {};
    return QString::fromUtf8(daemon.readLine()).trimmed();
}

void end(QProcess &process) {
    if (process.state() == QProcess::NotRunning)
        return;
    process.terminate();
    if (!process.waitForFinished(5000)) {
        process.kill();
        process.waitForFinished(2000);
    }
}

} // namespace

GnomeShellSession::~GnomeShellSession() {
    stop();
}

bool GnomeShellSession::installed() {
    return !QStandardPaths::findExecutable(QStringLiteral("gnome-shell")).isEmpty() &&
           !QStandardPaths::findExecutable(QStringLiteral("dbus-daemon")).isEmpty();
}

QString GnomeShellSession::start(const QString &extensionDir) {
    if (!dir_.isValid())
        return QStringLiteral("no temporary folder");
    const QString runtime = runtimeDir(), data = dir_.filePath(QStringLiteral("data")),
                  config = dir_.filePath(QStringLiteral("config")),
                  cache = dir_.filePath(QStringLiteral("cache"));
    const QString extension = QDir(extensionDir).dirName();
    const QString installedExtension = data + QStringLiteral("/gnome-shell/extensions/") + extension;
    for (const QString &path :
         {runtime, installedExtension, config + QStringLiteral("/glib-2.0/settings"), cache})
        if (!QDir().mkpath(path))
            return QStringLiteral("cannot create ") + path;
    QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    for (const QString &name : QDir(extensionDir).entryList(QDir::Files))
        if (!QFile::copy(extensionDir + QLatin1Char('/') + name,
                         installedExtension + QLatin1Char('/') + name))
            return QStringLiteral("cannot copy the extension");
    // Settings from a key file of this session, not the user's: the extension enabled, no welcome tour.
    QFile settings(config + QStringLiteral("/glib-2.0/settings/keyfile"));
    if (!settings.open(QIODevice::WriteOnly))
        return QStringLiteral("cannot write the settings");
    settings.write(
        QStringLiteral("[org/gnome/shell]\nenabled-extensions=['%1']\ndisable-user-extensions=false\n"
                       "welcome-dialog-last-shown-version='999'\n")
            .arg(extension)
            .toUtf8());
    settings.close();

    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const char *name : {"DISPLAY", "WAYLAND_DISPLAY", "XAUTHORITY", "DBUS_SESSION_BUS_ADDRESS",
                             "DBUS_SYSTEM_BUS_ADDRESS", "QT_QPA_PLATFORM"})
        env.remove(QLatin1String(name));
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);
    env.insert(QStringLiteral("XDG_DATA_HOME"), data);
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), config);
    env.insert(QStringLiteral("XDG_CACHE_HOME"), cache);
    env.insert(QStringLiteral("XDG_CURRENT_DESKTOP"), QStringLiteral("GNOME"));
    env.insert(QStringLiteral("XDG_SESSION_TYPE"), QStringLiteral("wayland"));
    env.insert(QStringLiteral("GSETTINGS_BACKEND"), QStringLiteral("keyfile"));
    // The shell asks the system bus for logins and power; without one (a container) it stops.
    const QString system = busAddress(systemBus_, env, dir_.filePath(QStringLiteral("system-bus.log")));
    if (system.isEmpty())
        return QStringLiteral("no bus for the system");
    env.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), system);
    // The portal and its dialogs are started by the session bus with its environment: they are
    // Wayland programs of this shell.
    env.insert(QStringLiteral("WAYLAND_DISPLAY"), QLatin1String(waylandName));
    env.insert(QStringLiteral("GDK_BACKEND"), QStringLiteral("wayland"));
    const QString session = busAddress(sessionBus_, env, dir_.filePath(QStringLiteral("session-bus.log")));
    if (session.isEmpty())
        return QStringLiteral("no session bus");
    env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), session);
    environment_ = env;

    QProcessEnvironment shellEnv = env;
    shellEnv.remove(QStringLiteral("WAYLAND_DISPLAY"));
    shell_.setProcessEnvironment(shellEnv);
    shell_.setProcessChannelMode(QProcess::MergedChannels);
    shell_.setStandardOutputFile(logPath());
    shell_.start(QStringLiteral("gnome-shell"),
                 {QStringLiteral("--headless"), QStringLiteral("--wayland"),
                  QStringLiteral("--virtual-monitor"), QStringLiteral("1280x800"),
                  QStringLiteral("--wayland-display"), QLatin1String(waylandName)});
    if (!shell_.waitForStarted(10000))
        return QStringLiteral("gnome-shell did not start");

    // Ready when the shell has said which X11 display its XWayland serves and the XWayland
    // authority file is there.
    static const QRegularExpression displayLine(QStringLiteral("Using public X11 display (:\\d+)"));
    QString display, authority;
    QDeadlineTimer deadline(60000);
    while ((display.isEmpty() || authority.isEmpty()) && !deadline.hasExpired()) {
        if (shell_.state() != QProcess::Running)
            return QStringLiteral("gnome-shell ended, see ") + logPath();
        QFile log(logPath());
        if (display.isEmpty() && log.open(QIODevice::ReadOnly)) {
            const auto match = displayLine.match(QString::fromUtf8(log.readAll()));
            if (match.hasMatch())
                display = match.captured(1);
        }
        const QStringList auth =
            QDir(runtime).entryList({QStringLiteral(".mutter-Xwaylandauth.*")}, QDir::Files | QDir::Hidden);
        if (!auth.isEmpty())
            authority = runtime + QLatin1Char('/') + auth.first();
        if (display.isEmpty() || authority.isEmpty())
            QThread::msleep(100);
    }
    if (display.isEmpty() || authority.isEmpty())
        return QStringLiteral("gnome-shell started no XWayland, see ") + logPath();

    for (const char *name : {"DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR", "WAYLAND_DISPLAY",
                             "XDG_CURRENT_DESKTOP", "XDG_SESSION_TYPE"})
        qputenv(name, env.value(QLatin1String(name)).toLocal8Bit());
    qputenv("DISPLAY", display.toLocal8Bit());
    qputenv("XAUTHORITY", authority.toLocal8Bit());
    // This program's windows and clipboard go through XWayland, as the application's do.
    qputenv("QT_QPA_PLATFORM", "xcb");
    return {};
}

void GnomeShellSession::stop() {
    end(shell_);
    // The portal and its helpers belong to the session bus; they end with it.
    end(sessionBus_);
    end(systemBus_);
}
