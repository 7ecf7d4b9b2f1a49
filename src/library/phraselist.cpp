#include "library/phraselist.h"

#include "cloud/phraseoperations.h"
#include "cloud/teamlibraries.h"
#include "library/librarycontext.h"
#include "library/listselection.h"
#include "library/phraseidmodel.h"
#include "library/phraselistview.h"
#include "store/phrasestore.h"

#include <QMenu>
#include <QScrollBar>
#include <QVBoxLayout>
#include <algorithm>

PhraseList::PhraseList(LibraryContext &library, QWidget *parent) : QWidget(parent), library_(library) {
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    collectionView = new PhraseListView(library_.phrases, PhraseRowDelegate::Layout::OneLine, this);
    collectionView->setInsets(5);
    ListSelection::keepNonEmpty(collectionView);
    layout->addWidget(collectionView);

    menu = new QMenu(this);
    menu->setToolTipsVisible(true); // a change not offered says why
    addPhraseAction = menu->addAction(QString::fromUtf8("添加短语"));
    editPhraseAction = menu->addAction(QString::fromUtf8("编辑短语"));
    menu->addSeparator();
    moveUpAction = menu->addAction(QString::fromUtf8("向上移动"));
    moveDownAction = menu->addAction(QString::fromUtf8("向下移动"));
    menu->addSeparator();
    deleteAction = menu->addAction(QString::fromUtf8("删除选中"));
    connect(menu, &QMenu::triggered, this, &PhraseList::menuActionTriggered);

    connect(collectionView->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &PhraseList::selectionChanged);
    connect(collectionView, &PhraseListView::emptyAreaRightPressed, this, &PhraseList::openMenu);
    connect(collectionView, &PhraseListView::rowRightPressed, this, &PhraseList::rightPressed);
    connect(collectionView, &PhraseListView::sendRequested, this, &PhraseList::send);

    connect(&library_.phrases, &PhraseStore::changed, this, &PhraseList::reloadData);
    reloadMenuState();
}

PhraseList::~PhraseList() = default;

QString PhraseList::currentUsername() const {
    return username.value_or(library_.username);
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

const QList<qint64> &PhraseList::phraseIds() const {
    return collectionView->phraseModel()->ids();
}

std::optional<Phrase> PhraseList::phraseAt(int row) const {
    return collectionView->phraseModel()->phraseAt(row);
}

void PhraseList::reloadData() {
    // A change elsewhere (a colleague's, through a team's stream) leaves the agent's place alone: the
    // same phrases stay selected wherever they moved, and the list does not scroll.
    QStringList selectedSigns;
    for (int r : std::as_const(selectedRows))
        if (const std::optional<Phrase> phrase = phraseAt(r))
            selectedSigns.append(phrase->sign);
    const int scrollTop = collectionView->verticalScrollBar()->value();
    applyingSelection_ = true;
    collectionView->phraseModel()->setIds(
        shownClassSign ? library_.phrases.getAllIds(*shownClassSign, currentUsername()) : QList<qint64>{},
        QString());
    applyingSelection_ = false;
    if (!selectedSigns.isEmpty()) {
        QList<int> rows;
        for (const QString &sign : std::as_const(selectedSigns))
            if (const std::optional<Phrase> phrase = library_.phrases.getData(sign))
                if (const qsizetype row = phraseIds().indexOf(phrase->id); row >= 0)
                    rows.append(int(row));
        selectedRows = rows;
    }
    reloadSelectedData();
    collectionView->verticalScrollBar()->setValue(scrollTop);
    reloadMenuState();
    Q_EMIT dataReloaded();
}

void PhraseList::reloadSelectedData() {
    setSelection(selectedRows);
}

void PhraseList::setSelection(const QList<int> &rows) {
    QList<int> kept;
    for (int r : rows)
        if (r >= 0 && r < count() && !kept.contains(r))
            kept.append(r);
    std::sort(kept.begin(), kept.end());
    applyingSelection_ = true;
    ListSelection::select(collectionView, kept, count());
    applyingSelection_ = false;
    selectionChanged();
}

bool PhraseList::selectRow(int n) {
    if (n < 0 || n >= count())
        return false;
    setSelection({n});
    collectionView->scrollTo(collectionView->model()->index(n, 0));
    return true;
}

void PhraseList::selectionChanged() {
    if (applyingSelection_)
        return;
    selectedRows = ListSelection::selectedRows(collectionView);
    reloadMenuState();
}

void PhraseList::reloadMenuState() {
    const qsizetype n = selectedRows.size();
    const bool editable = library_.libraries.canEdit(currentUsername());
    addPhraseAction->setEnabled(editable && shownClassSign.has_value());
    editPhraseAction->setEnabled(editable && n == 1);
    moveUpAction->setEnabled(editable && n == 1);
    moveDownAction->setEnabled(editable && n == 1);
    deleteAction->setEnabled(editable && n >= 1);
    const QString why = editable ? QString() : TeamLibraries::readOnlyReason();
    for (QAction *action : {addPhraseAction, editPhraseAction, moveUpAction, moveDownAction, deleteAction})
        action->setToolTip(why.isEmpty() ? action->text() : why);
}

void PhraseList::openMenu(const QPoint &globalPos) {
    reloadMenuState();
    menu->popup(globalPos);
    Q_EMIT menuOpened();
}

void PhraseList::rightPressed(int row, const QPoint &globalPos) {
    if (selectedRows.size() < 2)
        setSelection({row});
    openMenu(globalPos);
}

void PhraseList::send(int row, bool pressEnter) {
    if (const std::optional<Phrase> phrase = phraseAt(row))
        Q_EMIT sendRequested(*phrase, pressEnter);
}

void PhraseList::menuActionTriggered(QAction *action) {
    const QString title = action->text();
    const QList<int> sel = selectedRows;
    if (!action->isEnabled())
        return;
    PhraseOperations &operations = library_.libraries.phraseOperations(currentUsername());
    if (title == QString::fromUtf8("添加短语")) {
        if (!shownClassSign)
            return;
        Q_EMIT createPhraseRequested(*shownClassSign);
    } else if (title == QString::fromUtf8("编辑短语")) {
        if (sel.size() != 1)
            return;
        if (const std::optional<Phrase> phrase = phraseAt(sel.first()))
            Q_EMIT editPhraseRequested(*phrase);
    } else if (title == QString::fromUtf8("向上移动")) {
        if (sel.size() != 1 || sel.first() <= 0)
            return;
        // The selection follows the moved phrase by its sign.
        swapWith(sel.first(), sel.first() - 1);
    } else if (title == QString::fromUtf8("向下移动")) {
        if (sel.size() != 1 || sel.first() >= count() - 1)
            return;
        swapWith(sel.first(), sel.first() + 1);
    } else if (title == QString::fromUtf8("删除选中")) {
        if (sel.isEmpty() || count() == 0)
            return;
        QString signs;
        for (int r : sel)
            if (const std::optional<Phrase> phrase = phraseAt(r))
                signs += phrase->sign + QLatin1Char('|');
        selectedRows.clear();
        operations.remove(signs);
    }
}

void PhraseList::swapWith(int row, int other) {
    const std::optional<Phrase> a = phraseAt(row);
    const std::optional<Phrase> b = phraseAt(other);
    if (a && b)
        library_.libraries.phraseOperations(currentUsername()).swapPositions(a->sign, b->sign);
}
