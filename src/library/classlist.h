#pragma once

#include "model/phraseclass.h"

#include <QList>
#include <QWidget>
#include <optional>

class QAction;
class QListWidget;
class QMenu;
class ClassCell;
struct LibraryContext;

// The strip of classes above the phrase list, with its context menu: the personal library's classes,
// then each team's behind the team's badge. Changes to a library the account may only read are not
// offered, and the menu says why.
class ClassList : public QWidget {
    Q_OBJECT
public:
    explicit ClassList(LibraryContext &library, QWidget *parent = nullptr);
    ~ClassList() override;

    QListWidget *collectionView = nullptr;
    QList<PhraseClass> dataSource;
    // Selected rows in ascending order.
    QList<int> selectedRows;

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
    // The library the selected class belongs to (where 添加分类 adds one); the personal one when none.
    QString currentLibrary() const;

    // A right click on a class: it is selected (unless part of a selection) and the menu opens.
    void openMenuAt(int indexPath);

Q_SIGNALS:
    void menuOpened();
    // The class whose phrases are shown changed, or was read again (a reload, a rename).
    void classSelected(const std::optional<PhraseClass> &shown);
    // 添加分类 (no class) or 编辑分类 (the selected one); the application opens the dialog.
    void classDialogRequested(const std::optional<PhraseClass> &shown);

private:
    void selectionChanged();
    void openMenu(const QPoint &globalPos);
    void scrollToRow(int row);

    LibraryContext &library_;
    bool applyingSelection_ = false;
};
