#include "library/control_word_list.h"

#include "library/cell_word_list.h"
#include "library/controller_word_list.h"
#include "library/lazycelllist.h"
#include "library/listselection.h"
#include "model/app.h"
#include "send/sendjsonvalueutil.h"

#include <QCursor>
#include <QMenu>
#include <QVBoxLayout>
#include <algorithm>
#include <iostream>

#include "editor/createlistviewcontrollel.h"
#include "editor/editlistviewcontroller.h"

control_word_list::control_word_list(QWidget *parent) : QWidget(parent) {
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    collectionView = new LazyCellList(this);
    collectionView->setInsets(5);
    collectionView->setCellFactory([this](int row) -> QWidget * {
        auto *cell = new cell_word_list;
        cell->delegate = this;
        if (row >= 0 && row < dataSource.size())
            cell->setData(row, dataSource[row]);
        cell->setSelect(_selectIndexPathAll.contains(row));
        return cell;
    });
    layout->addWidget(collectionView);

    menu = new QMenu(this);
    menu_添加短语 = menu->addAction(QString::fromUtf8("添加短语"));
    menu_编辑短语 = menu->addAction(QString::fromUtf8("编辑短语"));
    menu->addSeparator();
    menu_向上移动 = menu->addAction(QString::fromUtf8("向上移动"));
    menu_向下移动 = menu->addAction(QString::fromUtf8("向下移动"));
    menu->addSeparator();
    menu_删除选中 = menu->addAction(QString::fromUtf8("删除选中"));
    connect(menu, &QMenu::triggered, this, &control_word_list::MenuActionLIST);

    connect(collectionView, &QListWidget::itemSelectionChanged, this, &control_word_list::selectionChanged);
    connect(collectionView, &LazyCellList::emptyAreaRightPressed, this, &control_word_list::openMenu);

    controller_word_list::delegate = this;
    reloadMenuState();
}

control_word_list::~control_word_list() {
    if (controller_word_list::delegate == this)
        controller_word_list::delegate = nullptr;
}

QString control_word_list::currentUsername() const {
    return username.value_or(App::userInfo().username);
}

void control_word_list::setWordData(const std::optional<DataWordClass> &data) {
    if (data) {
        parSign = data->sign;
        username = data->username;
    } else {
        parSign.reset();
        username.reset();
    }
    _selectIndexPathAll.clear();
    reloadWordData();
    collectionView->scrollToTop();
}

void control_word_list::reloadWordData() {
    dataSource =
        parSign ? controller_word_list::db().getAll(*parSign, currentUsername()) : QList<DataWordList>{};
    applyingSelection_ = true;
    collectionView->resetRows(int(dataSource.size()), QSize(0, rowHeight + 1));
    applyingSelection_ = false;
    reloadSleectData();
    reloadMenuState();
    Q_EMIT dataReloaded();
}

void control_word_list::reloadSleectData() {
    setSelection(_selectIndexPathAll);
}

void control_word_list::setSelection(const QList<int> &rows) {
    QList<int> kept;
    for (int r : rows)
        if (r >= 0 && r < dataSource.size() && !kept.contains(r))
            kept.append(r);
    std::sort(kept.begin(), kept.end());
    applyingSelection_ = true;
    ListSelection::select(collectionView, kept, dataSource.size());
    applyingSelection_ = false;
    selectionChanged();
}

bool control_word_list::selectRow(int n) {
    if (n < 0 || n >= dataSource.size())
        return false;
    setSelection({n});
    collectionView->scrollToItem(collectionView->item(n));
    return true;
}

cell_word_list *control_word_list::cellAt(int row) {
    return qobject_cast<cell_word_list *>(collectionView->cellAt(row));
}

void control_word_list::selectionChanged() {
    if (applyingSelection_)
        return;
    const QList<int> rows = ListSelection::selectedRows(collectionView);
    _selectIndexPathAll = rows;
    for (int r = 0; r < collectionView->count(); ++r)
        if (auto *cell = qobject_cast<cell_word_list *>(collectionView->existingCellAt(r)))
            cell->setSelect(rows.contains(r));
    reloadMenuState();
}

void control_word_list::reloadMenuState() {
    const qsizetype n = _selectIndexPathAll.size();
    menu_添加短语->setEnabled(parSign.has_value());
    menu_编辑短语->setEnabled(n == 1);
    menu_向上移动->setEnabled(n == 1);
    menu_向下移动->setEnabled(n == 1);
    menu_删除选中->setEnabled(n >= 1);
}

void control_word_list::openMenu(const QPoint &globalPos) {
    reloadMenuState();
    menu->popup(globalPos);
    Q_EMIT menuOpened();
}

void control_word_list::onMouseRightDow(int indexPath, const DataWordList &) {
    // With two or more selected the menu acts on all of them.
    if (_selectIndexPathAll.size() < 2)
        setSelection({indexPath});
    openMenu(QCursor::pos());
}

void control_word_list::onSendButtonClick(int, const DataWordList &data) {
    SendJsonValueUtil::send(data.jsonValue, true);
}

void control_word_list::onDbClick(int, const DataWordList &data) {
    SendJsonValueUtil::send(data.jsonValue, false);
}

void control_word_list::onDataChange() {
    reloadWordData();
}

void control_word_list::MenuActionLIST(QAction *action) {
    std::cout << "===>>>>>>>   Menu Action -!" << std::endl;
    const QString title = action->text();
    const QList<int> sel = _selectIndexPathAll;
    const QString user = currentUsername();
    if (title == QString::fromUtf8("添加短语")) {
        if (!parSign)
            return;
        CreateListViewControllel dialog(*parSign, user, window());
        dialog.exec();
    } else if (title == QString::fromUtf8("编辑短语")) {
        if (sel.size() != 1)
            return;
        EditListViewController dialog(dataSource[sel.first()], window());
        dialog.exec();
    } else if (title == QString::fromUtf8("向上移动")) {
        if (sel.size() != 1 || sel.first() <= 0)
            return;
        const int i = sel.first();
        // The selection follows the moved phrase.
        _selectIndexPathAll = {i - 1};
        controller_word_list::swapPostion(dataSource[i].sign, dataSource[i - 1].sign, user);
    } else if (title == QString::fromUtf8("向下移动")) {
        if (sel.size() != 1 || sel.first() >= dataSource.size() - 1)
            return;
        const int i = sel.first();
        _selectIndexPathAll = {i + 1};
        controller_word_list::swapPostion(dataSource[i].sign, dataSource[i + 1].sign, user);
    } else if (title == QString::fromUtf8("删除选中")) {
        if (sel.isEmpty() || dataSource.isEmpty())
            return;
        QString signs;
        for (int r : sel)
            signs += dataSource[r].sign + QLatin1Char('|');
        _selectIndexPathAll.clear();
        controller_word_list::delete_(signs, user);
    }
}
