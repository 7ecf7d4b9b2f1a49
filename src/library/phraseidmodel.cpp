#include "library/phraseidmodel.h"

#include "library/phraserowdelegate.h"
#include "store/phrasestore.h"

PhraseIdModel::PhraseIdModel(PhraseStore &store, QObject *parent)
    : QAbstractListModel(parent), store_(store) {}

void PhraseIdModel::setIds(const QList<qint64> &ids, const QString &keyword) {
    beginResetModel();
    ids_ = ids;
    keyword_ = keyword;
    shown_.clear();
    endResetModel();
}

std::optional<Phrase> PhraseIdModel::phraseAt(int row) const {
    if (row < 0 || row >= ids_.size())
        return std::nullopt;
    const qint64 id = ids_[row];
    if (const Phrase *cached = shown_.object(id))
        return *cached;
    std::optional<Phrase> phrase = store_.getById(id);
    if (phrase)
        shown_.insert(id, new Phrase(*phrase));
    return phrase;
}

int PhraseIdModel::rowCount(const QModelIndex &parent) const {
    return parent.isValid() ? 0 : int(ids_.size());
}

QVariant PhraseIdModel::data(const QModelIndex &index, int role) const {
    if (role != Qt::DisplayRole && role != Qt::ToolTipRole)
        return {};
    const std::optional<Phrase> phrase = phraseAt(index.row());
    if (!phrase)
        return {};
    return role == Qt::DisplayRole ? phrase->label : PhraseRowDelegate::previewOf(phrase->content);
}
