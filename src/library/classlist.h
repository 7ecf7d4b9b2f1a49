#pragma once

#include "library/classcelllistener.h"
#include "library/classselectionlistener.h"
#include "model/phraseclass.h"
#include "store/classchangelistener.h"

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
    QList<int> selectedRows;
    ClassSelectionListener *listener = nullptr;

    QMenu *menu = nullptr;
    QAction *addClassAction = nullptr;
    QAction *editClassAction = nullptr;
    QAction *moveUpAction = nullptr;
    QAction *moveDownAction = nullptr;
    QAction *deleteAction = nullptr;

    void reloadData();
    void reloadSelectedData();
    void reloadMenuState();
    void menuActionTriggered(QAction *action);
    void setSelectIndex(int indexPath);
    void setSelection(const QList<int> &rows);
    ClassCell *cellAt(int row) const;

    void onChange() override;
    void onRightClick(int indexPath) override;

Q_SIGNALS:
    void menuOpened();
    // 添加分类 (no class) or 编辑分类 (the selected one); the application opens the dialog.
    void classDialogRequested(const std::optional<PhraseClass> &shown);

protected:
    void showEvent(QShowEvent *event) override;

private:
    void selectionChanged();
    void openMenu(const QPoint &globalPos);
    void scrollToRow(int row);

    bool applyingSelection_ = false;
};
