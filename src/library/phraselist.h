#pragma once

#include "model/phrase.h"
#include "model/phraseclass.h"

#include <QList>
#include <QWidget>
#include <optional>

class QAction;
class QMenu;
class PhraseListView;
struct LibraryContext;

// The phrases of the selected class, with their context menu; a double click pastes a phrase into
// the target application and the row's send button pastes and sends it.
class PhraseList : public QWidget {
    Q_OBJECT
public:
    explicit PhraseList(LibraryContext &library, QWidget *parent = nullptr);
    ~PhraseList() override;

    PhraseListView *collectionView = nullptr;
    // Selected rows in ascending order.
    QList<int> selectedRows;
    // The shown phrases by id; a row's record is read only when it is needed.
    const QList<qint64> &phraseIds() const;
    int count() const { return int(phraseIds().size()); }
    std::optional<Phrase> phraseAt(int row) const;
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

    // With two or more selected the menu acts on all of them; otherwise the row alone.
    void rightPressed(int row, const QPoint &globalPos);

    static constexpr int rowHeight = 30;

Q_SIGNALS:
    // The context menu was opened (it is a non-blocking pop-up).
    void menuOpened();
    // The rows were read again from the store.
    void dataReloaded();
    // 添加短语 in the shown class, or 编辑短语; the application opens the dialog.
    void createPhraseRequested(const QString &classSign);
    void editPhraseRequested(const Phrase &phrase);
    // A double click or the row's send button: the home view hands it to the sender.
    void sendRequested(const Phrase &phrase, bool pressEnter);

private:
    void selectionChanged();
    void openMenu(const QPoint &globalPos);
    void send(int row, bool pressEnter);
    void swapWith(int row, int other);
    QString currentUsername() const;

    LibraryContext &library_;
    bool applyingSelection_ = false;
};
