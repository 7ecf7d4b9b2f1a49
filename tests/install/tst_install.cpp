#include "cloudservice.h"
#include "xvfbsession.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

namespace {

// Runs a tool to its end; its standard output and error together.
int run(const QString &program, const QStringList &args, QByteArray *output = nullptr, int ms = 300000) {
    QProcess p;
    p.setProcessChannelMode(QProcess::MergedChannels);
    p.start(program, args);
    if (!p.waitForFinished(ms)) {
        p.kill();
        p.waitForFinished();
        return -1;
    }
    if (output)
        *output = p.readAll();
    return p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
}

} // namespace

class TestInstall : public QObject {
    Q_OBJECT

    QTemporaryDir work_;
    QString root_; // the package unpacked
    QByteArray depends_;

private Q_SLOTS:
    void initTestCase() {
        QByteArray out;
        const QString packages = work_.filePath("packages");
        QVERIFY2(run("cpack", {"--config", BUILD_DIR "/CPackConfig.cmake", "-G", "DEB", "-B", packages},
                     &out) == 0,
                 out.constData());
        const QStringList debs = QDir(packages).entryList({"*.deb"}, QDir::Files);
        QCOMPARE(debs.size(), 1);
        const QString deb = QDir(packages).filePath(debs.first());
        QCOMPARE(run("dpkg-deb", {"-f", deb, "Depends"}, &depends_), 0);
        root_ = work_.filePath("root");
        QCOMPARE(run("dpkg", {"-x", deb, root_}, &out), 0);
    }

    // The libraries the programs link are named by the package, worked out rather than listed.
    void dependenciesAreComputed() {
        for (const char *library : {"libqt6widgets6", "libqt6network6", "libsqlite3", "libsodium", "libxdo3"})
            QVERIFY2(depends_.contains(library), depends_.constData());
    }

    void filesLandInTheStandardPlaces() {
        for (const char *file :
             {"usr/bin/quillora", "usr/bin/quillora-cloud", "usr/lib/quillora/quillora-webview.so",
              "usr/share/icons/hicolor/scalable/apps/org.quillora.Quillora.svg"})
            QVERIFY2(QFile::exists(QDir(root_).filePath(file)), file);
        for (int size : {16, 24, 32, 48, 64, 128, 256}) {
            const QImage icon(QDir(root_).filePath(
                QStringLiteral("usr/share/icons/hicolor/%1x%1/apps/org.quillora.Quillora.png").arg(size)));
            QCOMPARE(icon.size(), QSize(size, size));
        }
        QByteArray out;
        const QString desktopFile =
            QDir(root_).filePath("usr/share/applications/org.quillora.Quillora.desktop");
        QVERIFY2(run("desktop-file-validate", {desktopFile}, &out) == 0 && out.isEmpty(), out.constData());
        // KWin offers its window list and fake input to the program its entry starts by full path.
        QFile entry(desktopFile);
        QVERIFY(entry.open(QIODevice::ReadOnly));
        const QByteArray entryText = entry.readAll();
        QVERIFY(entryText.contains("\nExec=/usr/bin/quillora\n"));
        QVERIFY(entryText.contains("\nExec=/usr/bin/quillora --quickbar\n"));
        QVERIFY(entryText.contains(
            "\nX-KDE-Wayland-Interfaces=org_kde_plasma_window_management,org_kde_kwin_fake_input\n"));
        const QString metainfo =
            QDir(root_).filePath("usr/share/metainfo/org.quillora.Quillora.metainfo.xml");
        QVERIFY2(run("appstreamcli", {"validate", "--no-net", metainfo}, &out) == 0, out.constData());

        QFile unit(QDir(root_).filePath("usr/lib/systemd/user/quillora-cloud.service"));
        QVERIFY(unit.open(QIODevice::ReadOnly));
        QVERIFY(unit.readAll().contains("\nExecStart=/usr/bin/quillora-cloud serve "));

        // The shell finds an extension by its folder, which must carry the uuid its metadata names.
        QFile metadata(QDir(root_).filePath(
            "usr/share/gnome-shell/extensions/quillora@org.quillora.Quillora/metadata.json"));
        QVERIFY(metadata.open(QIODevice::ReadOnly));
        const QJsonObject extension = QJsonDocument::fromJson(metadata.readAll()).object();
        QCOMPARE(extension.value(QStringLiteral("uuid")).toString(),
                 QStringLiteral("quillora@org.quillora.Quillora"));
        QVERIFY(extension.value(QStringLiteral("shell-version")).toArray().contains(QStringLiteral("43")));
        QVERIFY(QFile::exists(QDir(root_).filePath(
            "usr/share/gnome-shell/extensions/quillora@org.quillora.Quillora/extension.js")));
    }

    // `cmake --install` to any prefix: the unit names the service where that prefix put it.
    void installToAPrefix() {
        const QString prefix = work_.filePath("prefix");
        QByteArray out;
        QVERIFY2(run("cmake", {"--install", BUILD_DIR, "--prefix", prefix}, &out) == 0, out.constData());
        QFile unit(prefix + "/lib/systemd/user/quillora-cloud.service");
        QVERIFY(unit.open(QIODevice::ReadOnly));
        QVERIFY(unit.readAll().contains("\nExecStart=" + prefix.toUtf8() + "/bin/quillora-cloud serve "));
        QVERIFY(QFile::exists(prefix + "/bin/quillora"));
        QFile entry(prefix + "/share/applications/org.quillora.Quillora.desktop");
        QVERIFY(entry.open(QIODevice::ReadOnly));
        QVERIFY(entry.readAll().contains("\nExec=" + prefix.toUtf8() + "/bin/quillora\n"));
    }

    // Both programs start from the unpacked package: the service, and the application signing in to
    // it and showing the library.
    void installedProgramsRun() {
        qputenv("QUILLORA_CLOUD_BINARY", QDir(root_).filePath("usr/bin/quillora-cloud").toLocal8Bit());
        CloudService cloud;
        const bool started = cloud.start();
        qunsetenv("QUILLORA_CLOUD_BINARY");
        QVERIFY(started);
        QCOMPARE(cloud.run({"demo"}), 0);

        const QString app = QDir(root_).filePath("usr/bin/quillora");
        QByteArray out;
        QCOMPARE(run(app, {"--version"}, &out), 0);
        QVERIFY(out.contains("quillora 1.0"));

        QTemporaryDir config, runtime, home;
        QProcess p;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("XDG_CONFIG_HOME", config.path());
        env.insert("XDG_RUNTIME_DIR", runtime.path());
        env.insert("QUILLORA_HOME", home.path());
        env.insert("QUILLORA_SERVICE_URL", cloud.baseUrl());
        env.insert("QUILLORA_AUTOLOGIN", "demo:demo123456");
        env.insert("QUILLORA_SCREENSHOT", home.filePath("home.png"));
        env.remove("QUILLORA_WEBVIEW_MODULE");
        p.setProcessEnvironment(env);
        p.setProcessChannelMode(QProcess::MergedChannels);
        p.start(app, {});
        QVERIFY(p.waitForFinished(180000));
        QVERIFY2(p.exitCode() == 0, p.readAll().right(2000).constData());
        QVERIFY(QFile::exists(home.filePath("home.png")));
    }
};

QUILLORA_X11_TEST_MAIN(TestInstall)
#include "tst_install.moc"
