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
    QList<Phrase> dataSource;
    QList<int> selectedRows;
    std::optional<QString> keyString;

    void setData(const QList<Phrase> &data, const QString &keyString);
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
