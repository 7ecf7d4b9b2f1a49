#pragma once

#include "model/phrase.h"

#include <QAbstractListModel>
#include <QCache>
#include <QList>
#include <QString>
#include <optional>

// Phrases by id for a list view: a row's record is read from the store only when the row is shown
// (and kept for a while), so a list of a hundred thousand hits costs a hundred thousand ids.
class PhraseStore;

class PhraseIdModel : public QAbstractListModel {
    Q_OBJECT
public:
    explicit PhraseIdModel(PhraseStore &store, QObject *parent = nullptr);

    void setIds(const QList<qint64> &ids, const QString &keyword);
    const QList<qint64> &ids() const { return ids_; }
    // The search keyword the rows colour; empty in a plain list.
    const QString &keyword() const { return keyword_; }
    std::optional<Phrase> phraseAt(int row) const;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;

private:
    PhraseStore &store_;
    QList<qint64> ids_;
    QString keyword_;
    mutable QCache<qint64, Phrase> shown_{256};
};
