#pragma once

#include "library/phraserowlistener.h"
#include "model/phrase.h"

#include <QList>
#include <QWidget>
#include <optional>

class LazyRowList;
class SearchResultRow;

// The search results over all classes, with the keyword coloured.
class SearchResultList : public QWidget, public PhraseRowListener {
    Q_OBJECT
public:
    explicit SearchResultList(QWidget *parent = nullptr);

    LazyRowList *collectionView = nullptr;
    // The matching phrases by id; a row's record is read only when the row is shown.
    QList<qint64> resultIds;
    QList<int> selectedRows;
    std::optional<QString> keyString;

    void setData(const QList<qint64> &ids, const QString &keyString);
    std::optional<Phrase> phraseAt(int row) const;
    void setSelection(const QList<int> &rows);
    SearchResultRow *cellAt(int row);

    void onRightClick(int indexPath, const Phrase &data) override;
    void onSendButtonClick(int indexPath, const Phrase &data) override;
    void onDoubleClick(int indexPath, const Phrase &data) override;

    static constexpr int rowHeight = 46;

private:
    void selectionChanged();

    bool applyingSelection_ = false;
    class QLabel *emptyLabel_ = nullptr;
};
