// Shows each dialog of the phrase editor on a private X display and saves what it looks like.
// Usage: render_editor <output folder>

#include "cloud/classoperations.h"
#include "cloud/cloudclient.h"
#include "cloud/phraseoperations.h"
#include "editor/classdialog.h"
#include "editor/createphrasedialog.h"
#include "editor/editphrasedialog.h"
#include "editor/emojipicker.h"
#include "editor/phraseeditor.h"
#include "editor/pictureuploaddialog.h"
#include "model/phrasecontent.h"
#include "model/settings.h"
#include "store/classstore.h"
#include "store/localpath.h"
#include "store/localstore.h"
#include "store/phrasestore.h"
#include "ui/messagebox.h"

#include "testenv.h"
#include "xvfbsession.h"

#include <QApplication>
#include <QBuffer>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QLinearGradient>
#include <QMessageBox>
#include <QPainter>
#include <QProgressBar>
#include <QTest>
#include <iostream>

namespace {

QString outDir;

// A stand-in for a screenshot a customer-service agent would paste: an order card.
QByteArray orderCard(int w, int h, QColor top, QColor bottom, const QString &title) {
    QImage image(w, h, QImage::Format_ARGB32);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient g(0, 0, 0, h);
    g.setColorAt(0, top);
    g.setColorAt(1, bottom);
    p.fillRect(image.rect(), g);
    p.setPen(Qt::white);
    QFont f = QApplication::font();
    f.setPixelSize(h / 7);
    f.setBold(true);
    p.setFont(f);
    p.drawText(image.rect().adjusted(16, 12, -16, -h / 2), Qt::AlignLeft | Qt::AlignTop, title);
    p.setBrush(QColor(255, 255, 255, 70));
    p.setPen(Qt::NoPen);
    for (int i = 0; i < 3; ++i)
        p.drawRoundedRect(QRectF(16, h / 2.0 + i * h / 8.0, w * (0.8 - i * 0.2), h / 14.0), 4, 4);
    p.end();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

bool save(QWidget *w, const QString &name) {
    QApplication::processEvents();
    QTest::qWait(150);
    const QString path = outDir + QLatin1Char('/') + name;
    const bool ok = w->grab().save(path);
    std::cout << (ok ? "wrote " : "could not write ") << path.toStdString() << std::endl;
    return ok;
}

void showAndWait(QWidget *w) {
    w->show();
    if (!QTest::qWaitForWindowExposed(w))
        std::cerr << "window not exposed; the picture may be incomplete" << std::endl;
    QTest::qWait(200);
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 2) {
        std::cerr << "usage: render_editor <output folder>" << std::endl;
        return 2;
    }
    TestEnv env;
    XvfbSession x11;
    if (!x11.start()) {
        std::cerr << "could not start Xvfb" << std::endl;
        return 1;
    }
    QApplication app(argc, argv);
    outDir = QDir(QString::fromLocal8Bit(argv[1])).absolutePath();
    QDir().mkpath(outDir);
    LocalPath::initDirs();
    const QString user = QStringLiteral("agent01");
    LocalStore db;
    if (const Result<void> opened = db.open(); !opened) {
        std::cerr << qPrintable(opened.error()) << std::endl;
        return 1;
    }
    PhraseStore phrases(db);
    ClassStore classes(db);
    Settings settings;
    CloudClient cloud(settings);
    PhraseOperations phraseOperations(phrases, cloud, user);
    ClassOperations classOperations(classes, cloud, user);
    for (const auto &[sign, label] : {std::pair{"c1", "常用问候"}, {"c2", "物流查询"}, {"c3", "售后服务"}})
        classes.create(QString::fromUtf8(sign), QString::fromUtf8(label), 0, user);

    const QByteArray card = orderCard(420, 240, QColor(0x3b, 0x82, 0xf6), QColor(0x1e, 0x3a, 0x8a),
                                      QStringLiteral("订单 #20261122"));
    const QByteArray parcel =
        orderCard(160, 110, QColor(0x10, 0xb9, 0x81), QColor(0x06, 0x5f, 0x46), QStringLiteral("已发货"));
    int failures = 0;

    {
        CreatePhraseDialog dialog(phraseOperations, QStringLiteral("c1"));
        dialog.labelViewBox->setText(QStringLiteral("订单确认"));
        dialog.textView->insertString(QStringLiteral("您好，您的订单已确认，详情如下 😊\n"));
        dialog.textView->insertImage(card);
        dialog.textView->insertString(QStringLiteral("\n预计 2-3 天送达，请耐心等待 🙏"));
        showAndWait(&dialog);
        failures += !save(&dialog, QStringLiteral("editor-create-phrase.png"));

        dialog.emojiClicked();
        QTest::qWait(300);
        failures += !save(dialog.emojiPicker()->parentWidget(), QStringLiteral("editor-emoji.png"));
        dialog.emojiPicker()->parentWidget()->hide();

        MessageBox::show(QStringLiteral("图片类型不正确"), QStringLiteral("上传图片失败"), &dialog);
        QTest::qWait(400);
        if (auto *box = dialog.findChild<QMessageBox *>()) {
            failures += !save(box, QStringLiteral("editor-message.png"));
            box->accept();
        } else {
            ++failures;
        }

        dialog.openPictureClicked();
        QTest::qWait(400);
        if (auto *panel = dialog.findChild<QFileDialog *>()) {
            panel->resize(640, 420);
            failures += !save(panel, QStringLiteral("editor-open-picture.png"));
            panel->reject();
        } else {
            ++failures;
        }
    }
    {
        Phrase phrase;
        phrase.sign = QStringLiteral("p1");
        phrase.parentSign = QStringLiteral("c2");
        phrase.label = QStringLiteral("发货通知");
        PhraseEditor scratch; // stores the pictures under their content names
        scratch.insertString(QStringLiteral("亲，您的包裹已经发出 🚚\n"));
        scratch.insertImage(parcel);
        scratch.insertString(
            QStringLiteral("\n物流单号稍后同步，有问题随时联系我们 ❤️"));
        phrase.setJsonValue(scratch.getValue().toJson());
        EditPhraseDialog dialog(phraseOperations, classes.getAll(user), phrase);
        showAndWait(&dialog);
        failures += !save(&dialog, QStringLiteral("editor-edit-phrase.png"));
    }
    {
        ClassDialog dialog(classOperations);
        dialog.label->setText(QStringLiteral("售前咨询"));
        showAndWait(&dialog);
        failures += !save(&dialog, QStringLiteral("editor-class.png"));
    }
    {
        // Rendered without being shown: showing starts the uploads.
        PictureUploadDialog dialog(cloud, PhraseContent(), {});
        dialog.label->setText(QStringLiteral("正在上传图片 3f2a9c…e81b.png"));
        dialog.progressbar->setValue(64);
        dialog.adjustSize();
        failures += !save(&dialog, QStringLiteral("editor-upload.png"));
    }
    return failures == 0 ? 0 : 1;
}
