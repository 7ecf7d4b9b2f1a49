#pragma once

#include "library/cell_word_class_delegate.h"
#include "ui/hovertracked.h"

#include <QWidget>
#include <optional>

class NSTextFieldS;

// One class in the class strip (the name is spelled so): its label, shortened with "..." when long.
class cell_wrod_class : public HoverTracked<QWidget> {
    Q_OBJECT
public:
    explicit cell_wrod_class(QWidget *parent = nullptr);

    std::optional<int> indexPath;
    NSTextFieldS *label = nullptr;
    cell_word_class_delegate *delegate = nullptr;

    void setData(int indexPath, const QString &text);
    void setSelect(bool isSelect);
    bool isSelect() const { return isSelect_; }

    static constexpr int maxWidth = 120;
    // The width a label needs in the strip.
    static int widthFor(const QString &text, const QFont &font);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    bool isSelect_ = false;
};
