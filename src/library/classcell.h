#pragma once

#include "ui/hovertracked.h"

#include <QWidget>
#include <optional>

class ElidedLabel;
class QLabel;

// One class in the class strip: its label, shortened with "..." when long, after the team's name
// in a badge when the class is a team's.
class ClassCell : public HoverTracked<QWidget> {
    Q_OBJECT
public:
    explicit ClassCell(QWidget *parent = nullptr);

    std::optional<int> indexPath;
    ElidedLabel *label = nullptr;
    QLabel *badge = nullptr;

    // team: the team's name, empty for a class of the personal library.
    void setData(int indexPath, const QString &text, const QString &team = {});
    void setSelect(bool isSelect);
    bool isSelect() const { return isSelect_; }

    static constexpr int maxWidth = 120;
    // The width a label needs in the strip.
    static int widthFor(const QString &text, const QFont &font, const QString &team = {});

Q_SIGNALS:
    void rightClicked(int indexPath);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    bool isSelect_ = false;
};
