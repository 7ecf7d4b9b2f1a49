#pragma once

#include "library/phraserowlistener.h"
#include "model/phrase.h"
#include "model/phraseclass.h"
#include "store/phrasechangelistener.h"

#include <QList>
#include <QWidget>
#include <optional>

class QAction;
class QMenu;
class LazyRowList;
class PhraseRow;

// The phrases of the selected class, with their context menu; a double click pastes a phrase into
// the target application and the row's send button pastes and sends it.
class PhraseList : public QWidget, public PhraseRowListener, public PhraseChangeListener {
    Q_OBJECT
public:
    explicit PhraseList(QWidget *parent = nullptr);
    ~PhraseList() override;

    LazyRowList *collectionView = nullptr;
    // Selected rows in ascending order.
    QList<int> selectedRows;
    QList<Phrase> dataSource;
    std::optional<QString> shownClassSign;
    std::optional<QString> username;

    QMenu *menu = nullptr;
    QAction *addPhraseAction = nullptr;
    QAction *editPhraseAction = nullptr;
    QAction *moveUpAction = nullptr;
    QAction *moveDownAction = nullptr;
    QAction *deleteAction = nullptr;

    void setWordData(const std::optional<PhraseClass> &data);
    void reloadData();
    void reloadSelectedData();
    void reloadMenuState();
    void menuActionTriggered(QAction *action);

    // Selects exactly these rows (out-of-range rows are dropped).
    void setSelection(const QList<int> &rows);
    // Selects row n alone and scrolls it into view; false when there is no such row.
    bool selectRow(int n);
    PhraseRow *cellAt(int row);

    void onDataChange() override;
    void onRightClick(int indexPath, const Phrase &data) override;
    void onSendButtonClick(int indexPath, const Phrase &data) override;
    void onDoubleClick(int indexPath, const Phrase &data) override;

    static constexpr int rowHeight = 30;

Q_SIGNALS:
    // The context menu was opened (it is a non-blocking pop-up).
    void menuOpened();
    // The rows were read again from the store.
    void dataReloaded();
    // 添加短语 in the shown class, or 编辑短语; the application opens the dialog.
    void createPhraseRequested(const QString &classSign);
    void editPhraseRequested(const Phrase &phrase);

private:
    void selectionChanged();
    void openMenu(const QPoint &globalPos);
    QString currentUsername() const;

    bool applyingSelection_ = false;
};
