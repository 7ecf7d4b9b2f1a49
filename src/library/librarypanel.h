#pragma once

#include "model/phraseclass.h"

#include <QWidget>
#include <optional>

class QLabel;
class QProgressBar;
class QSplitter;
class ImageButton;
class ElidedLabel;
class ClassList;
class PhraseList;
struct LibraryContext;

// The library area: the selected class's name and count, the cloud button with its loading bar, and
// the class strip over the phrase list.
class LibraryPanel : public QWidget {
    Q_OBJECT
public:
    explicit LibraryPanel(LibraryContext &library, QWidget *parent = nullptr);
    ~LibraryPanel() override;

    QWidget *topView = nullptr;
    QWidget *bottomView = nullptr;
    QProgressBar *loadingBar = nullptr;
    ImageButton *cloudButton = nullptr;
    QSplitter *splitView = nullptr;
    ElidedLabel *labelTextView = nullptr;
    // Shown over a class of a library the account may only read, with the reason as its tooltip.
    QLabel *readOnlyNote = nullptr;
    ClassList *classList = nullptr;
    PhraseList *phraseList = nullptr;

    static constexpr int classStripHeight = 30;

    void showClass(const std::optional<PhraseClass> &data);
    void cloudButtonClick();
    void syncStarted();
    void syncFinished();

Q_SIGNALS:
    void cloudStarted();
    void cloudStopped();

private:
    void refreshLabel();

    LibraryContext &library_;
    std::optional<PhraseClass> shown_;
};
