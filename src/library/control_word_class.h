#pragma once

#include "library/cell_word_class_delegate.h"
#include "library/control_word_class_delegate.h"
#include "library/controller_word_class_delegate.h"
#include "model/datawordclass.h"

#include <QList>
#include <QWidget>
#include <optional>

class QAction;
class QListWidget;
class QMenu;
class cell_wrod_class;

// The strip of classes above the phrase list, with its context menu.
class control_word_class : public QWidget,
                           public cell_word_class_delegate,
                           public controller_word_class_delegate {
    Q_OBJECT
public:
    explicit control_word_class(QWidget *parent = nullptr);
    ~control_word_class() override;

    QListWidget *collectionView = nullptr;
    QList<DataWordClass> dataSource;
    // Selected rows in ascending order.
    QList<int> _selectIndexPathAll;
    control_word_class_delegate *delegate = nullptr;

    QMenu *menu = nullptr;
    QAction *menu_添加分类 = nullptr;
    QAction *menu_编辑分类 = nullptr;
    QAction *menu_向上移动 = nullptr;
    QAction *menu_向下移动 = nullptr;
    QAction *menu_删除选中 = nullptr;

    void reloadWordData();
    void reloadSleectData();
    void reloadMenuState();
    void MenuAction(QAction *action);
    void setSelectIndex(int indexPath);
    void setSelection(const QList<int> &rows);
    cell_wrod_class *cellAt(int row) const;

    void onChange() override;
    void onMouseRightDow(int indexPath) override;

Q_SIGNALS:
    void menuOpened();

protected:
    void showEvent(QShowEvent *event) override;

private:
    void selectionChanged();
    void openMenu(const QPoint &globalPos);

    bool applyingSelection_ = false;
    std::optional<QString> shownSign_;
};
