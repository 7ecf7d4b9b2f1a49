#pragma once

#include "library/cell_word_list_delegate.h"
#include "library/controller_word_list_delegate.h"
#include "model/datawordclass.h"
#include "model/datawordlist.h"

#include <QList>
#include <QWidget>
#include <optional>

class QAction;
class QMenu;
class LazyCellList;
class cell_word_list;

// The phrases of the selected class, with their context menu; a double click pastes a phrase into
// the target application and the row's send button pastes and sends it.
class control_word_list : public QWidget,
                          public cell_word_list_delegate,
                          public controller_word_list_delegate {
    Q_OBJECT
public:
    explicit control_word_list(QWidget *parent = nullptr);
    ~control_word_list() override;

    LazyCellList *collectionView = nullptr;
    // Selected rows in ascending order.
    QList<int> _selectIndexPathAll;
    QList<DataWordList> dataSource;
    std::optional<QString> parSign;
    std::optional<QString> username;

    QMenu *menu = nullptr;
    QAction *menu_添加短语 = nullptr;
    QAction *menu_编辑短语 = nullptr;
    QAction *menu_向上移动 = nullptr;
    QAction *menu_向下移动 = nullptr;
    QAction *menu_删除选中 = nullptr;

    void setWordData(const std::optional<DataWordClass> &data);
    void reloadWordData();
    void reloadSleectData();
    void reloadMenuState();
    void MenuActionLIST(QAction *action);

    // Selects exactly these rows (out-of-range rows are dropped).
    void setSelection(const QList<int> &rows);
    // Selects row n alone and scrolls it into view; false when there is no such row.
    bool selectRow(int n);
    cell_word_list *cellAt(int row);

    void onDataChange() override;
    void onMouseRightDow(int indexPath, const DataWordList &data) override;
    void onSendButtonClick(int indexPath, const DataWordList &data) override;
    void onDbClick(int indexPath, const DataWordList &data) override;

    static constexpr int rowHeight = 30;

Q_SIGNALS:
    // The context menu was opened (it is a non-blocking pop-up).
    void menuOpened();
    // The rows were read again from the store.
    void dataReloaded();

private:
    void selectionChanged();
    void openMenu(const QPoint &globalPos);
    QString currentUsername() const;

    bool applyingSelection_ = false;
};
