#include "library/classlist.h"

#include "cloud/classoperations.h"
#include "cloud/teamlibraries.h"
#include "library/classcell.h"
#include "library/librarycontext.h"
#include "library/listselection.h"
#include "model/logging.h"
#include "store/classstore.h"
#include "ui/elidedlabel.h"

#include <QCursor>
#include <QListWidget>
#include <QMap>
#include <QMenu>
#include <QMouseEvent>
#include <QScrollBar>
#include <QVBoxLayout>
#include <algorithm>

namespace {
// Keeps the selection when the empty part of the strip is clicked and reports right presses there.
class ClassStrip : public QListWidget {
public:
    std::function<void(const QPoint &)> onEmptyRightPress;
    using QListWidget::QListWidget;

protected:
    void mousePressEvent(QMouseEvent *event) override {
        const bool onItem = itemAt(event->position().toPoint()) != nullptr;
        if (event->button() == Qt::RightButton) {
            if (!onItem && onEmptyRightPress)
                onEmptyRightPress(event->globalPosition().toPoint());
            event->accept();
            return;
        }
        if (!onItem) {
            event->accept();
            return;
        }
        QListWidget::mousePressEvent(event);
    }
};
} // namespace

ClassList::ClassList(LibraryContext &library, QWidget *parent) : QWidget(parent), library_(library) {
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 0, 4, 0);
    auto *strip = new ClassStrip(this);
    strip->onEmptyRightPress = [this](const QPoint &p) { openMenu(p); };
    collectionView = strip;
    collectionView->setFlow(QListView::LeftToRight);
    collectionView->setWrapping(true);
    collectionView->setResizeMode(QListView::Adjust);
    collectionView->setFrameShape(QFrame::NoFrame);
    collectionView->setSelectionMode(QAbstractItemView::ExtendedSelection);
    collectionView->setEditTriggers(QAbstractItemView::NoEditTriggers);
    collectionView->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    collectionView->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    collectionView->setStyleSheet("QListWidget{background:transparent;outline:0;}"
                                  "QListWidget::item,QListWidget::item:selected,QListWidget::item:hover{"
                                  "background:transparent;border:0;}");
    ListSelection::keepNonEmpty(collectionView);
    layout->addWidget(collectionView);

    menu = new QMenu(this);
    menu->setToolTipsVisible(true); // a change not offered says why
    addClassAction = menu->addAction(QString::fromUtf8("添加分类"));
    editClassAction = menu->addAction(QString::fromUtf8("编辑分类"));
    menu->addSeparator();
    moveUpAction = menu->addAction(QString::fromUtf8("向上移动"));
    moveDownAction = menu->addAction(QString::fromUtf8("向下移动"));
    menu->addSeparator();
    deleteAction = menu->addAction(QString::fromUtf8("删除选中"));
    connect(menu, &QMenu::triggered, this, &ClassList::menuActionTriggered);
    connect(collectionView, &QListWidget::itemSelectionChanged, this, &ClassList::selectionChanged);

    connect(&library_.classes, &ClassStore::changed, this, &ClassList::reloadData);
    connect(&library_.libraries, &TeamLibraries::librariesChanged, this, &ClassList::reloadData);
    reloadMenuState();
}

ClassList::~ClassList() = default;

void ClassList::reloadData() {
    const QList<PhraseClass> before = dataSource;
    // The selection stays on the same classes wherever a change elsewhere moves them.
    QStringList selectedSigns;
    for (int r : std::as_const(selectedRows))
        if (r >= 0 && r < before.size())
            selectedSigns.append(before[r].sign);
    dataSource.clear();
    for (const LibraryInfo &lib : library_.libraries.libraries())
        dataSource += library_.classes.getAll(lib.dbname);
    const int scrollTop = collectionView->verticalScrollBar()->value();
    applyingSelection_ = true;
    collectionView->clear();
    for (int row = 0; row < dataSource.size(); ++row) {
        auto *item = new QListWidgetItem(collectionView);
        auto *cell = new ClassCell;
        connect(cell, &ClassCell::rightClicked, this, &ClassList::openMenuAt);
        const QString team =
            library_.libraries.isTeam(dataSource[row].username) ? dataSource[row].username : QString();
        cell->setData(row, dataSource[row].label, team);
        item->setSizeHint(QSize(ClassCell::widthFor(dataSource[row].label, cell->label->font(), team), 30));
        collectionView->setItemWidget(item, cell);
    }
    applyingSelection_ = false;
    if (!selectedSigns.isEmpty()) {
        QList<int> rows;
        for (int row = 0; row < dataSource.size(); ++row)
            if (selectedSigns.contains(dataSource[row].sign))
                rows.append(row);
        if (!rows.isEmpty())
            selectedRows = rows;
    }
    reloadSelectedData();
    collectionView->verticalScrollBar()->setValue(scrollTop);
    // A class that was not there before (just made) may land on a row of the strip out of view.
    if (before.isEmpty())
        return;
    for (qsizetype row = dataSource.size() - 1; row >= 0; --row) {
        const QString &sign = dataSource[row].sign;
        // Only where the agent makes classes: a team's new class never moves a reader's strip.
        if (library_.libraries.canEdit(dataSource[row].username) &&
            std::none_of(before.begin(), before.end(),
                         [&](const PhraseClass &c) { return c.sign == sign; })) {
            scrollToRow(int(row));
            break;
        }
    }
}

void ClassList::scrollToRow(int row) {
    if (QListWidgetItem *item = collectionView->item(row))
        collectionView->scrollToItem(item);
}

void ClassList::reloadSelectedData() {
    // The strip never stays without a selection while it has classes.
    setSelection(selectedRows.isEmpty() && !dataSource.isEmpty() ? QList<int>{0} : selectedRows);
}

void ClassList::setSelection(const QList<int> &rows) {
    QList<int> kept;
    for (int r : rows)
        if (r >= 0 && r < dataSource.size() && !kept.contains(r))
            kept.append(r);
    if (kept.isEmpty() && !dataSource.isEmpty())
        kept = {int(qMin<qsizetype>(rows.isEmpty() ? 0 : rows.first(), dataSource.size() - 1))};
    std::sort(kept.begin(), kept.end());
    applyingSelection_ = true;
    ListSelection::select(collectionView, kept, dataSource.size());
    if (!kept.isEmpty())
        collectionView->setCurrentRow(kept.first(), QItemSelectionModel::NoUpdate);
    applyingSelection_ = false;
    selectionChanged();
    // The strip is one row high: the selected class may sit on a row out of view.
    if (!kept.isEmpty())
        scrollToRow(kept.first());
}

void ClassList::setSelectIndex(int indexPath) {
    setSelection({indexPath});
}

ClassCell *ClassList::cellAt(int row) const {
    QListWidgetItem *item = collectionView->item(row);
    return item ? qobject_cast<ClassCell *>(collectionView->itemWidget(item)) : nullptr;
}

void ClassList::selectionChanged() {
    if (applyingSelection_)
        return;
    const QList<int> rows = ListSelection::selectedRows(collectionView);
    selectedRows = rows;
    for (int r = 0; r < collectionView->count(); ++r)
        if (auto *cell = cellAt(r))
            cell->setSelect(rows.contains(r));
    reloadMenuState();

    // With several selected, the phrases of the one clicked last are shown.
    std::optional<PhraseClass> shown;
    const int current = collectionView->currentRow();
    if (rows.contains(current))
        shown = dataSource[current];
    else if (!rows.isEmpty())
        shown = dataSource[rows.first()];
    // Told on every reload too, so that a renamed class reaches the label.
    Q_EMIT classSelected(shown);
}

QString ClassList::currentLibrary() const {
    for (int r : selectedRows)
        if (r >= 0 && r < dataSource.size())
            return dataSource[r].username;
    return library_.username;
}

void ClassList::reloadMenuState() {
    const qsizetype n = selectedRows.size();
    bool editable = library_.libraries.canEdit(currentLibrary());
    for (int r : std::as_const(selectedRows))
        editable = editable && r < dataSource.size() && library_.libraries.canEdit(dataSource[r].username);
    addClassAction->setEnabled(editable);
    editClassAction->setEnabled(editable && n == 1);
    moveUpAction->setEnabled(editable && n == 1);
    moveDownAction->setEnabled(editable && n == 1);
    deleteAction->setEnabled(editable && n >= 1);
    const QString why = editable ? QString() : TeamLibraries::readOnlyReason();
    for (QAction *action : {addClassAction, editClassAction, moveUpAction, moveDownAction, deleteAction})
        action->setToolTip(why.isEmpty() ? action->text() : why);
}

void ClassList::openMenu(const QPoint &globalPos) {
    reloadMenuState();
    menu->popup(globalPos);
    Q_EMIT menuOpened();
}

void ClassList::openMenuAt(int indexPath) {
    if (selectedRows.size() < 2)
        setSelection({indexPath});
    openMenu(QCursor::pos());
}

void ClassList::menuActionTriggered(QAction *action) {
    const QString title = action->text();
    const QList<int> sel = selectedRows;
    if (!action->isEnabled())
        return;
    if (title == QString::fromUtf8("添加分类")) {
        Q_EMIT classDialogRequested(std::nullopt);
    } else if (title == QString::fromUtf8("编辑分类")) {
        if (sel.size() == 1)
            Q_EMIT classDialogRequested(dataSource[sel.first()]);
    } else if (title == QString::fromUtf8("向上移动") || title == QString::fromUtf8("向下移动")) {
        // The selection follows the moved class by its sign. A class moves among the classes of
        // its own library only: at either end of it nothing happens.
        const int step = title == QString::fromUtf8("向上移动") ? -1 : 1;
        const int i = sel.size() == 1 ? sel.first() : -1;
        const int other = i + step;
        if (i >= 0 && other >= 0 && other < dataSource.size() &&
            dataSource[i].username == dataSource[other].username)
            library_.libraries.classOperations(dataSource[i].username)
                .swapPositions(dataSource[i].sign, dataSource[other].sign);
    } else if (title == QString::fromUtf8("删除选中")) {
        if (!sel.isEmpty() && !dataSource.isEmpty()) {
            // One call per library: a selection may span the personal library and a team's.
            QMap<QString, QString> signs;
            for (int r : sel)
                signs[dataSource[r].username] += dataSource[r].sign + QLatin1Char('|');
            selectedRows.clear();
            for (auto it = signs.cbegin(); it != signs.cend(); ++it)
                library_.libraries.classOperations(it.key()).remove(it.value());
        }
    }
}
