#pragma once

#include "library/cell_word_list_delegate.h"
#include "model/datawordlist.h"

#include <QList>
#include <QWidget>
#include <optional>

class LazyCellList;
class cell_word_list_2;

// The search results over all classes (the name is spelled so), with the keyword coloured.
class control_search_resulr_word_list : public QWidget, public cell_word_list_delegate {
    Q_OBJECT
public:
    explicit control_search_resulr_word_list(QWidget *parent = nullptr);

    LazyCellList *collectionView = nullptr;
    QList<DataWordList> dataSource;
    QList<int> _selectIndexPathAll;
    std::optional<QString> keyString;

    void setData(const QList<DataWordList> &data, const QString &keyString);
    void setSelection(const QList<int> &rows);
    cell_word_list_2 *cellAt(int row);

    void onMouseRightDow(int indexPath, const DataWordList &data) override;
    void onSendButtonClick(int indexPath, const DataWordList &data) override;
    void onDbClick(int indexPath, const DataWordList &data) override;

    static constexpr int rowHeight = 46;

private:
    void selectionChanged();

    bool applyingSelection_ = false;
    class QLabel *emptyLabel_ = nullptr;
};
