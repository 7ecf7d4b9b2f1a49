#pragma once

#include "ui/hoverview.h"

#include <QString>

class QLabel;
class cell_emoji_delegate;

// One emoji of the picker: 40 by 40, highlighted under the pointer, reports clicks to its delegate.
class cell_emoji : public HoverView {
    Q_OBJECT
public:
    static inline const QString item = QStringLiteral("cell_emoji");
    static constexpr int size = 40;

    explicit cell_emoji(QWidget *parent = nullptr);

    void set(const QString &emoji);
    QString emoji() const;

    cell_emoji_delegate *delegate = nullptr;

protected:
    void mousePressEvent(QMouseEvent *event) override;

private:
    QLabel *label;
};
