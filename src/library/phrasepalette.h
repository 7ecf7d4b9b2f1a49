#pragma once

#include "model/phrase.h"

#include <QWidget>

class DesktopBackend;
class PhraseListView;
class PhraseSender;
class TargetWindowTracker;
class QuickBarShortcuts;
class PhraseStore;
class QLabel;
class QLineEdit;

// The keyboard's way to a phrase: a small search box in the middle of the screen over every class.
// Typing searches, the arrows move, Enter sends into the window that was in front before it,
// Shift+Enter sends with Enter, Escape closes. It has the keyboard only while it is open.
class PhrasePalette : public QWidget {
    Q_OBJECT
public:
    static constexpr int paletteWidth = 520;
    static constexpr int visibleRows = 7;

    PhrasePalette(PhraseStore &store, const QString &username, QWidget *parent = nullptr);

    QLineEdit *field() const { return field_; }
    PhraseListView *list() const { return list_; }

    // Its sends go to sender; Escape gives the keyboard back to the tracker's target through desktop
    // (not every desktop does that by itself: sway to an XWayland window does not).
    void sendThrough(PhraseSender &sender, TargetWindowTracker &tracker, DesktopBackend &desktop);
    // A global shortcut that opens it (X11), such as "Ctrl+Shift+Space"; empty for none. False, with
    // the reason logged, when it cannot be had.
    bool setShortcut(const QString &shortcut);

public Q_SLOTS:
    // Opens over the screen with the pointer, empty, with the keyboard in the field.
    void present();

Q_SIGNALS:
    // The palette has closed by then, so the send can bring the target forward.
    void sendRequested(const Phrase &phrase, bool pressEnter);
    // Escape closed it: the keyboard goes back to the window that had it.
    void dismissed();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void changeEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void search(const QString &text);
    void moveSelection(int by);
    void sendCurrent(bool pressEnter);

    PhraseStore &store_;
    QString username_;
    QLineEdit *field_ = nullptr;
    PhraseListView *list_ = nullptr;
    QLabel *empty_ = nullptr;
    QuickBarShortcuts *shortcut_ = nullptr;
};
