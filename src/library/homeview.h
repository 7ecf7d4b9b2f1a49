#pragma once

#include <QPointer>
#include <QWidget>

class QLabel;
class QLineEdit;
class QMenu;
class QToolButton;
class ElidedLabel;
class LibraryPanel;
class PhraseList;
class SearchResultList;

// The home view: target application, search field, and the library or the search results. It docks
// its window at the right edge every time it appears; the first time it also starts the services.
class HomeView : public QWidget {
    Q_OBJECT
public:
    explicit HomeView(QWidget *parent = nullptr);
    ~HomeView() override;

    QWidget *wordBlock = nullptr;
    QLabel *targetIcon = nullptr;
    // Shows and hides the quick bar: its way in on a desktop without a tray.
    QToolButton *quickBarButton = nullptr;
    ElidedLabel *targetName = nullptr;
    LibraryPanel *libraryPanel = nullptr;
    SearchResultList *searchResults = nullptr;
    QLineEdit *searchTextView = nullptr;
    bool firstShown = false;

    void showView();
    void moveWindowToRight();
    void startUploadIcon();
    void searchTextChanged();

    // For the quick bar: the phrase list (its phraseAt and selectRow), the search field, the tray menu.
    PhraseList *phraseList() const;
    QLineEdit *searchField() const { return searchTextView; }
    QMenu *trayMenu() const;

    static constexpr int dockWidth = 300;
    static constexpr int dockRightGap = 5;
    static constexpr int dockDelayMs = 100;
    // How long the line about an unsent phrase stays.
    static constexpr int sendStatusMs = 6000;

Q_SIGNALS:
    // The one-time start-up has run (quick bar, synchronisation, tracker, target display, heartbeat).
    void started();
    void cloudStopped();

protected:
    void showEvent(QShowEvent *event) override;

private:
    void viewDidAppear();
    // Shows the target's name, and its icon when asked or when the target is another window.
    void refreshTarget(bool rereadIcon);

    bool targetShown_ = false;
    quint64 iconWindow_ = 0;
};
