#pragma once

#include "ui/hoverview.h"

#include <QString>

class QLabel;

// One emoji of the picker: 40 by 40, highlighted under the pointer, reports left clicks.
class EmojiCell : public HoverView {
    Q_OBJECT
public:
    static inline const QString item = QStringLiteral("EmojiCell");
    static constexpr int size = 40;

    explicit EmojiCell(QWidget *parent = nullptr);

    void set(const QString &emoji);
    QString emoji() const;

Q_SIGNALS:
    void clicked(const QString &emoji);

protected:
    void mousePressEvent(QMouseEvent *event) override;

private:
    QLabel *label;
};
