#pragma once

#include "ui/hovertracked.h"

#include <QWidget>
#include <optional>

class ElidedLabel;

// One class in the class strip: its label, shortened with "..." when long.
class ClassCell : public HoverTracked<QWidget> {
    Q_OBJECT
public:
    explicit ClassCell(QWidget *parent = nullptr);

    std::optional<int> indexPath;
    ElidedLabel *label = nullptr;

    void setData(int indexPath, const QString &text);
    void setSelect(bool isSelect);
    bool isSelect() const { return isSelect_; }

    static constexpr int maxWidth = 120;
    // The width a label needs in the strip.
    static int widthFor(const QString &text, const QFont &font);

Q_SIGNALS:
    void rightClicked(int indexPath);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    bool isSelect_ = false;
};
