#pragma once

#include "library/phrasechangelistener.h"
#include "library/phraserowlistener.h"
#include "model/phrase.h"
#include "model/phraseclass.h"

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
    QList<int> _selectIndexPathAll;
    QList<Phrase> dataSource;
    std::optional<QString> parSign;
    std::optional<QString> username;

    QMenu *menu = nullptr;
    QAction *menu_添加短语 = nullptr;
    QAction *menu_编辑短语 = nullptr;
    QAction *menu_向上移动 = nullptr;
    QAction *menu_向下移动 = nullptr;
    QAction *menu_删除选中 = nullptr;

    void setWordData(const std::optional<PhraseClass> &data);
    void reloadWordData();
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

private:
    void selectionChanged();
    void openMenu(const QPoint &globalPos);
    QString currentUsername() const;

    bool applyingSelection_ = false;
};
