#include "library/classcell.h"
#include "quickbar/quickbarslot.h"
#include "ui/appearance.h"
#include "ui/palettestylesheet.h"
#include "ui/themecolors.h"

#include "sessionbus.h"
#include "settingsportal.h"
#include "testenv.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QtTest>

// Light and dark as the desktop portal tells them, switched while the windows are up.

namespace {

// The mean lightness (0..255) of what a widget shows.
int lightness(QWidget *widget) {
    const QImage image = widget->grab().toImage();
    qint64 sum = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            sum += QColor(image.pixel(x, y)).lightness();
    return int(sum / qMax(1, image.width() * image.height()));
}

} // namespace

class TestAppearance : public QObject {
    Q_OBJECT

    SettingsPortal portal_;

private Q_SLOTS:
    void followsThePortalWhileRunning() {
        QVERIFY(portal_.start(1));
        Appearance appearance;
        QSignalSpy changed(&appearance, &Appearance::changed);
        // Every kind of part: painted from the palette, a style sheet made from it, a plain style sheet.
        QWidget window;
        auto *row = new QHBoxLayout(&window);
        auto *chip = new ClassCell(&window);
        chip->setData(0, QStringLiteral("售后服务"));
        chip->setFixedSize(90, 30);
        auto *slot = new QuickBarSlot(0, QStringLiteral("F1"), &window);
        auto *field = new QLineEdit(QStringLiteral("订单"), &window);
        PaletteStyleSheet::apply(field, [](const QPalette &p) {
            return QStringLiteral("QLineEdit{background:%1;color:%2;}")
                .arg(ThemeColors::css(ThemeColors::subtleFill(p)), ThemeColors::css(ThemeColors::text(p)));
        });
        auto *caption = new QLabel(QStringLiteral("默认分类"), &window);
        caption->setStyleSheet(QStringLiteral("font-size:14px;font-weight:600;"));
        for (QWidget *w : {static_cast<QWidget *>(chip), static_cast<QWidget *>(slot),
                           static_cast<QWidget *>(field), static_cast<QWidget *>(caption)})
            row->addWidget(w);
        window.setAutoFillBackground(true);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        const QList<QWidget *> parts{chip, slot, field, caption};

        // The portal's answer at the start: dark. Widgets take a new palette as the events go round.
        QTRY_VERIFY(appearance.isDark());
        QCOMPARE(changed.size(), 1);
        for (QWidget *w : parts)
            QTRY_VERIFY2(lightness(w) < 110, w->metaObject()->className());
        QVERIFY(caption->palette().color(QPalette::WindowText).lightness() > 180);

        // The user switches to light: everything follows without a restart.
        portal_.setColorScheme(2);
        QTRY_VERIFY(!appearance.isDark());
        for (QWidget *w : parts)
            QTRY_VERIFY2(lightness(w) > 150, w->metaObject()->className());
        QVERIFY(caption->palette().color(QPalette::WindowText).lightness() < 80);

        // Other settings, and values the portal may add later, change nothing.
        const int before = changed.size();
        portal_.setColorScheme(1);
        QTRY_VERIFY(appearance.isDark());
        portal_.setColorScheme(7);
        QTRY_COMPARE(changed.size(), before + 2);
        QVERIFY(!appearance.isDark());
    }

    void keywordColoursReadOnBothBackgrounds() {
        const QColor crimson(206, 7, 85);
        const QColor onDark = ThemeColors::legibleOn(crimson, QColor(0x24, 0x25, 0x28));
        QVERIFY(onDark.lightness() > crimson.lightness());
        QCOMPARE(ThemeColors::legibleOn(crimson, Qt::white), crimson);
    }
};

int main(int argc, char **argv) {
    TestEnv env;
    SessionBus bus;
    if (!bus.start())
        qFatal("no session bus");
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    TestAppearance tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}

#include "tst_appearance.moc"
