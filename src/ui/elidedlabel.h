#pragma once

#include <QLabel>

// A label that cannot be edited or selected and shortens its text with "..." when it does not fit.
class ElidedLabel : public QLabel {
    Q_OBJECT
public:
    explicit ElidedLabel(QWidget *parent = nullptr);

    void setText(const QString &text);
    QString text() const { return full_; }
    // Rich text is shown as is (no shortening); used for coloured search results.
    void setRichText(const QString &html, const QString &plain);
    void setElideMode(Qt::TextElideMode mode);

    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    void refresh();

    QString full_;
    bool rich_ = false;
    Qt::TextElideMode elide_ = Qt::ElideRight;
};
