#pragma once

#include "desktop/applicationnames.h"
#include "model/result.h"

#include <QPointer>
#include <QWidget>

class DesktopBackend;
class PhraseSender;
class QLabel;
class TargetWindowTracker;
class QLineEdit;
class QToolButton;
class ElidedLabel;
class LibraryPanel;
class PhraseList;
class SearchResultList;
struct LibraryContext;

// The home view: target application, search field, and the library or the search results. It docks
// its window at the right edge every time it appears. The session starts the services it shows.
class HomeView : public QWidget {
    Q_OBJECT
public:
    // openResult: how opening the database went; a failure is shown once the view is up.
    HomeView(LibraryContext &library, const Result<void> &openResult, QWidget *parent = nullptr);
    ~HomeView() override;

    QWidget *wordBlock = nullptr;
    QLabel *targetIcon = nullptr;
    // Shows and hides the quick bar: its way in on a desktop without a tray.
    QToolButton *quickBarButton = nullptr;
    ElidedLabel *targetName = nullptr;
    LibraryPanel *libraryPanel = nullptr;
    SearchResultList *searchResults = nullptr;
    QLineEdit *searchTextView = nullptr;

    void showView();
    void moveWindowToRight();
    // Shows the target window's name and icon from now on, following each change.
    void followTarget(TargetWindowTracker &tracker, DesktopBackend &desktop);
    // The lists' sends go to sender, and what it reports shows under the target.
    void sendThrough(PhraseSender &sender);
    void searchTextChanged();

    // For the quick bar: the phrase list (its phraseAt and selectRow) and the search field.
    PhraseList *phraseList() const;
    QLineEdit *searchField() const { return searchTextView; }

    static constexpr int dockWidth = 300;
    static constexpr int dockRightGap = 5;
    static constexpr int dockDelayMs = 100;
    // How long the line about an unsent phrase stays.
    static constexpr int sendStatusMs = 6000;

Q_SIGNALS:
    void cloudStopped();
    // The quick bar button was clicked.
    void quickBarToggleRequested();

protected:
    void showEvent(QShowEvent *event) override;

private:
    QList<qint64> searchIds(const QString &text) const;
    // Shows the target's name, and its icon when asked or when the target is another window.
    void refreshTarget(bool rereadIcon);
    // Puts the window's frame at the right edge of the main screen, full height.
    static void dock(QPointer<QWidget> window, int attempts);

    LibraryContext &library_;
    QLabel *sendStatus_ = nullptr;
    TargetWindowTracker *tracker_ = nullptr;
    DesktopBackend *desktop_ = nullptr;
    ApplicationNames applicationNames_;
    quint64 iconWindow_ = 0;
};
