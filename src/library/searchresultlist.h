#pragma once

#include "model/phrase.h"

#include <QList>
#include <QWidget>
#include <optional>

class PhraseListView;
class QLabel;
class PhraseStore;

// The search results over all classes, with the keyword coloured.
class SearchResultList : public QWidget {
    Q_OBJECT
public:
    explicit SearchResultList(PhraseStore &store, QWidget *parent = nullptr);

    PhraseListView *collectionView = nullptr;
    QList<int> selectedRows;

    // The matching phrases by id; a row's record is read only when the row is shown.
    void setData(const QList<qint64> &ids, const QString &keyString);
    // The same search found again after a change: the selected phrases and the scroll stay.
    void refresh(const QList<qint64> &ids);
    const QList<qint64> &resultIds() const;
    // The keyword the shown results were found by.
    const QString &keyString() const;
    std::optional<Phrase> phraseAt(int row) const;
    void setSelection(const QList<int> &rows);

Q_SIGNALS:
    // A double click or the row's send button: the home view hands it to the sender.
    void sendRequested(const Phrase &phrase, bool pressEnter);

private:
    void selectionChanged();
    void send(int row, bool pressEnter);

    bool applyingSelection_ = false;
    QLabel *emptyLabel_ = nullptr;
};
