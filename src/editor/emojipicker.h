#pragma once

#include <QList>
#include <QStringList>
#include <QWidget>

class QScrollArea;
class EmojiCell;

// A scrolling grid of emoji; a click on one is emitted as picked().
class EmojiPicker : public QWidget {
    Q_OBJECT
public:
    static constexpr int spacing = 2;

    explicit EmojiPicker(QWidget *parent = nullptr);

    // The fixed table, one item per user-perceived character.
    static QStringList emojiTable();
    static QStringList splitGraphemes(const QString &text);

    // Columns allowed for a view of this width: one per 40 pixels, truncated.
    static int maxColumns(int width);
    int columnCount() const { return columns_; }
    const QList<EmojiCell *> &cells() const { return cells_; }

    // Places the cells for the current width; runs on every resize.
    void generalLayout();

    QStringList emojiDataSource;

Q_SIGNALS:
    void picked(const QString &emoji);

protected:
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void makeCells();

    QScrollArea *scrollView;
    QWidget *collectionView;
    QList<EmojiCell *> cells_;
    int columns_ = 0;
};
