#pragma once

#include "editor/cell_emoji_delegate.h"

#include <QList>
#include <QStringList>
#include <QWidget>

class QScrollArea;
class cell_emoji;
class control_emojis_delegate;

// A scrolling grid of emoji; a click is handed to the delegate.
class control_emojis : public QWidget, public cell_emoji_delegate {
    Q_OBJECT
public:
    static constexpr int spacing = 2;

    explicit control_emojis(QWidget *parent = nullptr);

    // The fixed table, one item per user-perceived character.
    static QStringList emojiTable();
    static QStringList splitGraphemes(const QString &text);

    // Columns allowed for a view of this width: one per 40 pixels, truncated.
    static int maxColumns(int width);
    int columnCount() const { return columns_; }
    const QList<cell_emoji *> &cells() const { return cells_; }

    void onClick(const QString &emoji) override;
    // Places the cells for the current width; runs on every resize.
    void generalLayout();

    QStringList emojiDataSource;
    control_emojis_delegate *delegate = nullptr;

protected:
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void viewDidLoad();

    QScrollArea *scrollView;
    QWidget *collectionView;
    QList<cell_emoji *> cells_;
    int columns_ = 0;
};
