#pragma once

#include "library/classcelllistener.h"
#include "library/classchangelistener.h"
#include "library/classselectionlistener.h"
#include "model/phraseclass.h"

#include <QList>
#include <QWidget>
#include <optional>

class QAction;
class QListWidget;
class QMenu;
class ClassCell;

// The strip of classes above the phrase list, with its context menu.
class ClassList : public QWidget, public ClassCellListener, public ClassChangeListener {
    Q_OBJECT
public:
    explicit ClassList(QWidget *parent = nullptr);
    ~ClassList() override;

    QListWidget *collectionView = nullptr;
    QList<PhraseClass> dataSource;
    // Selected rows in ascending order.
    QList<int> _selectIndexPathAll;
    ClassSelectionListener *listener = nullptr;

    QMenu *menu = nullptr;
    QAction *menu_添加分类 = nullptr;
    QAction *menu_编辑分类 = nullptr;
    QAction *menu_向上移动 = nullptr;
    QAction *menu_向下移动 = nullptr;
    QAction *menu_删除选中 = nullptr;

    void reloadWordData();
    void reloadSelectedData();
    void reloadMenuState();
    void MenuAction(QAction *action);
    void setSelectIndex(int indexPath);
    void setSelection(const QList<int> &rows);
    ClassCell *cellAt(int row) const;

    void onChange() override;
    void onRightClick(int indexPath) override;

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
