#pragma once

#include "cloud/librarysynclistener.h"
#include "library/classselectionlistener.h"

#include <QWidget>

class QProgressBar;
class QSplitter;
class ImageButton;
class ElidedLabel;
class ClassList;
class PhraseList;

// The library area: the selected class's name and count, the cloud button with its loading bar, and
// the class strip over the phrase list.
class LibraryPanel : public QWidget, public ClassSelectionListener, public LibrarySyncListener {
    Q_OBJECT
public:
    explicit LibraryPanel(QWidget *parent = nullptr);
    ~LibraryPanel() override;

    QWidget *topView = nullptr;
    QWidget *bottomView = nullptr;
    QProgressBar *loadingBar = nullptr;
    ImageButton *cloudButton = nullptr;
    QSplitter *splitView = nullptr;
    ElidedLabel *labelTextView = nullptr;
    ClassList *classList = nullptr;
    PhraseList *phraseList = nullptr;

    static constexpr int classStripHeight = 30;

    void onSelectionChange(const std::optional<PhraseClass> &data) override;
    void cloudButtonClick();
    void onSyncStart() override;
    void onSyncStop() override;

Q_SIGNALS:
    void cloudStarted();
    void cloudStopped();

private:
    void refreshLabel();

    std::optional<PhraseClass> shown_;
};
