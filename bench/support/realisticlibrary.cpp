#include "realisticlibrary.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <random>

namespace {

const char *const fragments[] = {
    "您好",
    "亲",
    "请稍等",
    "马上为您查询",
    "退款",
    "已经发货",
    "快递单号",
    "预计三天内送达",
    "感谢您的耐心等待",
    "订单",
    "优惠券",
    "满减活动",
    "七天无理由退换",
    "售后服务",
    "请提供订单号",
    "地址",
    "修改",
    "尺码",
    "颜色",
    "库存",
    "补发",
    "客服",
    "工作时间",
    "周末",
    "节假日",
    "包邮",
    "运费险",
    "发票",
    "电子发票",
    "开具",
    "质量问题",
    "拍照",
    "上传",
    "审核",
    "通过",
    "退货地址",
    "顺丰",
    "圆通",
    "中通",
    "申通",
    "物流",
    "签收",
    "hello",
    "order",
    "refund",
    "shipping",
    "tracking",
    "VIP",
    "SKU",
    "size M",
    "size XL",
    "OK",
    "thanks",
    "please",
    "sorry",
    "link",
    "http://shop.example.com/item",
    "APP",
    "iPhone",
    "Android",
    "2024",
    "48h",
    "¥99",
    "No.",
    "，",
    "。",
    "！",
    "？",
    "：",
    "~",
    " ",
    "😊",
    "👍",
};
constexpr int fragmentCount = int(sizeof(fragments) / sizeof(fragments[0]));

QString pictureName(std::mt19937 &rng) {
    const QByteArray seed = QByteArray::number(quint64(rng()));
    return QString::fromLatin1(QCryptographicHash::hash(seed, QCryptographicHash::Md5).toHex()) +
           QStringLiteral(".png");
}

} // namespace

QList<Phrase> RealisticLibrary::phrases(int count, const QString &user) {
    std::mt19937 rng(20240611);
    std::uniform_int_distribution<int> pick(0, fragmentCount - 1);
    QList<Phrase> rows;
    rows.reserve(count);
    for (int i = 0; i < count; ++i) {
        QString label;
        while (label.size() < 6)
            label += QString::fromUtf8(fragments[pick(rng)]);
        QString text;
        while (text.size() < 120)
            text += QString::fromUtf8(fragments[pick(rng)]);
        QJsonArray content;
        content.append(QJsonObject{{"type", 1}, {"value", text}});
        if (i % 3 == 0) {
            content.append(QJsonObject{{"type", 2}, {"value", pictureName(rng)}});
            if (i % 6 == 0)
                content.append(QJsonObject{{"type", 2}, {"value", pictureName(rng)}});
        }
        Phrase row;
        row.parentSign = QStringLiteral("class%1").arg(i % 40);
        row.sign = QStringLiteral("sign%1").arg(i);
        row.label = label;
        row.setJsonValue(QString::fromUtf8(QJsonDocument(content).toJson(QJsonDocument::Compact)));
        row.position = i / 40;
        row.username = user;
        rows << row;
    }
    return rows;
}
