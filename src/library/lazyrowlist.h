#pragma once

#include <QListWidget>
#include <functional>

// A list whose rows get their cell widgets only once they scroll into view, so that a library of
// thousands of phrases costs widgets for the visible rows only. Rows are all the same height.
class LazyRowList : public QListWidget {
    Q_OBJECT
public:
    using CellFactory = std::function<QWidget *(int row)>;

    explicit LazyRowList(QWidget *parent = nullptr);

    void setCellFactory(CellFactory factory) { factory_ = std::move(factory); }
    // Replaces every row; cells are made for the rows in view.
    void resetRows(int count, QSize rowSize);
    // The cell of a row, made now if it was not yet.
    QWidget *cellAt(int row);
    QWidget *existingCellAt(int row) const;
    void setInsets(int margin) { setViewportMargins(margin, margin, margin, margin); }

Q_SIGNALS:
    // A right press where no row is.
    void emptyAreaRightPressed(const QPoint &globalPos);

protected:
    void resizeEvent(QResizeEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;
    void mousePressEvent(QMouseEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void materialiseVisible();

    CellFactory factory_;
};
