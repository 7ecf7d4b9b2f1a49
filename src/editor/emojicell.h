#pragma once

#include "ui/hoverview.h"

#include <QString>

class QLabel;
class EmojiCellListener;

// One emoji of the picker: 40 by 40, highlighted under the pointer, reports clicks to its listener.
class EmojiCell : public HoverView {
    Q_OBJECT
public:
    static inline const QString item = QStringLiteral("EmojiCell");
    static constexpr int size = 40;

    explicit EmojiCell(QWidget *parent = nullptr);

    void set(const QString &emoji);
    QString emoji() const;

    EmojiCellListener *listener = nullptr;

protected:
    void mousePressEvent(QMouseEvent *event) override;

private:
    QLabel *label;
};
