#pragma once

#include "library/phraserowdelegate.h"

#include <QListView>
#include <QTimer>

class PhraseIdModel;
class PhraseStore;

// A list of phrases painted by PhraseRowDelegate: one model of ids, no widget per row. It turns the
// pointer into the rows' gestures: the send button, every second click of a run on a row (the run
// ends 0.6 s after its last click), and a right press.
class PhraseListView : public QListView {
    Q_OBJECT
public:
    PhraseListView(PhraseStore &store, PhraseRowDelegate::Layout layout, QWidget *parent = nullptr);

    PhraseIdModel *phraseModel() const { return model_; }
    PhraseRowDelegate *rowDelegate() const { return delegate_; }
    void setInsets(int margin) { setViewportMargins(margin, margin, margin, margin); }

    static constexpr int clickResetMs = 600;

Q_SIGNALS:
    // The send button (with Enter) or a double click (without) on a row.
    void sendRequested(int row, bool pressEnter);
    void rowRightPressed(int row, const QPoint &globalPos);
    void emptyAreaRightPressed(const QPoint &globalPos);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void leaveEvent(QEvent *event) override;

private:
    bool onSendButton(const QModelIndex &row, const QPoint &pos) const;
    void updateHover(const QPoint &pos);

    PhraseIdModel *model_;
    PhraseRowDelegate *delegate_;
    QPersistentModelIndex pressedButton_;
    int clickRow_ = -1;
    int clickCount_ = 0;
    QTimer clickReset_;
};
