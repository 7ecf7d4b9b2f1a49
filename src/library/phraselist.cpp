#include "library/phraselist.h"

#include "library/lazyrowlist.h"
#include "library/listselection.h"
#include "library/phraseoperations.h"
#include "library/phraserow.h"
#include "model/app.h"
#include "send/phrasesender.h"

#include <QCursor>
#include <QMenu>
#include <QVBoxLayout>
#include <algorithm>
#include <iostream>

PhraseList::PhraseList(QWidget *parent) : QWidget(parent) {
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    collectionView = new LazyRowList(this);
    collectionView->setInsets(5);
    collectionView->setCellFactory([this](int row) -> QWidget * {
        auto *cell = new PhraseRow;
        cell->listener = this;
        if (row >= 0 && row < dataSource.size())
            cell->setData(row, dataSource[row]);
        cell->setSelect(selectedRows.contains(row));
        return cell;
    });
    ListSelection::keepNonEmpty(collectionView);
    layout->addWidget(collectionView);

    menu = new QMenu(this);
    addPhraseAction = menu->addAction(QString::fromUtf8("添加短语"));
    editPhraseAction = menu->addAction(QString::fromUtf8("编辑短语"));
    menu->addSeparator();
    moveUpAction = menu->addAction(QString::fromUtf8("向上移动"));
    moveDownAction = menu->addAction(QString::fromUtf8("向下移动"));
    menu->addSeparator();
    deleteAction = menu->addAction(QString::fromUtf8("删除选中"));
    connect(menu, &QMenu::triggered, this, &PhraseList::menuActionTriggered);

    connect(collectionView, &QListWidget::itemSelectionChanged, this, &PhraseList::selectionChanged);
    connect(collectionView, &LazyRowList::emptyAreaRightPressed, this, &PhraseList::openMenu);

    PhraseStore::listener = this;
    reloadMenuState();
}

PhraseList::~PhraseList() {
    if (PhraseStore::listener == this)
        PhraseStore::listener = nullptr;
}

QString PhraseList::currentUsername() const {
    return username.value_or(App::userInfo().username);
}

void PhraseList::setWordData(const std::optional<PhraseClass> &data) {
    if (data) {
        shownClassSign = data->sign;
        username = data->username;
    } else {
        shownClassSign.reset();
        username.reset();
    }
    selectedRows.clear();
    reloadData();
    collectionView->scrollToTop();
}

void PhraseList::reloadData() {
    dataSource =
        shownClassSign ? PhraseStore::shared().getAll(*shownClassSign, currentUsername()) : QList<Phrase>{};
    applyingSelection_ = true;
    collectionView->resetRows(int(dataSource.size()), QSize(0, rowHeight + 1));
    applyingSelection_ = false;
    reloadSelectedData();
    reloadMenuState();
    Q_EMIT dataReloaded();
}

void PhraseList::reloadSelectedData() {
    setSelection(selectedRows);
}

void PhraseList::setSelection(const QList<int> &rows) {
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

bool PhraseList::selectRow(int n) {
    if (n < 0 || n >= dataSource.size())
        return false;
    setSelection({n});
    collectionView->scrollToItem(collectionView->item(n));
    return true;
}

PhraseRow *PhraseList::cellAt(int row) {
    return qobject_cast<PhraseRow *>(collectionView->cellAt(row));
}

void PhraseList::selectionChanged() {
    if (applyingSelection_)
        return;
    const QList<int> rows = ListSelection::selectedRows(collectionView);
    selectedRows = rows;
    for (int r = 0; r < collectionView->count(); ++r)
        if (auto *cell = qobject_cast<PhraseRow *>(collectionView->existingCellAt(r)))
            cell->setSelect(rows.contains(r));
    reloadMenuState();
}

void PhraseList::reloadMenuState() {
    const qsizetype n = selectedRows.size();
    addPhraseAction->setEnabled(shownClassSign.has_value());
    editPhraseAction->setEnabled(n == 1);
    moveUpAction->setEnabled(n == 1);
    moveDownAction->setEnabled(n == 1);
    deleteAction->setEnabled(n >= 1);
}

void PhraseList::openMenu(const QPoint &globalPos) {
    reloadMenuState();
    menu->popup(globalPos);
    Q_EMIT menuOpened();
}

void PhraseList::onRightClick(int indexPath, const Phrase &) {
    // With two or more selected the menu acts on all of them.
    if (selectedRows.size() < 2)
        setSelection({indexPath});
    openMenu(QCursor::pos());
}

void PhraseList::onSendButtonClick(int, const Phrase &data) {
    PhraseSender::send(data.jsonValue, true);
}

void PhraseList::onDoubleClick(int, const Phrase &data) {
    PhraseSender::send(data.jsonValue, false);
}

void PhraseList::onDataChange() {
    reloadData();
}

void PhraseList::menuActionTriggered(QAction *action) {
    std::cout << "===>>>>>>>   Menu Action -!" << std::endl;
    const QString title = action->text();
    const QList<int> sel = selectedRows;
    const QString user = currentUsername();
    if (title == QString::fromUtf8("添加短语")) {
        if (!shownClassSign)
            return;
        Q_EMIT createPhraseRequested(*shownClassSign);
    } else if (title == QString::fromUtf8("编辑短语")) {
        if (sel.size() != 1)
            return;
        Q_EMIT editPhraseRequested(dataSource[sel.first()]);
    } else if (title == QString::fromUtf8("向上移动")) {
        if (sel.size() != 1 || sel.first() <= 0)
            return;
        const int i = sel.first();
        // The selection follows the moved phrase.
        selectedRows = {i - 1};
        PhraseOperations::swapPositions(dataSource[i].sign, dataSource[i - 1].sign, user);
    } else if (title == QString::fromUtf8("向下移动")) {
        if (sel.size() != 1 || sel.first() >= dataSource.size() - 1)
            return;
        const int i = sel.first();
        selectedRows = {i + 1};
        PhraseOperations::swapPositions(dataSource[i].sign, dataSource[i + 1].sign, user);
    } else if (title == QString::fromUtf8("删除选中")) {
        if (sel.isEmpty() || dataSource.isEmpty())
            return;
        QString signs;
        for (int r : sel)
            signs += dataSource[r].sign + QLatin1Char('|');
        selectedRows.clear();
        PhraseOperations::remove(signs, user);
    }
}
