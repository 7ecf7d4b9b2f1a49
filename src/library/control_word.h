#pragma once

#include "cloud/controller_cloud_delegate.h"
#include "library/control_word_class_delegate.h"

#include <QWidget>

class QProgressBar;
class QSplitter;
class ImageButton;
class NSTextFieldS;
class control_word_class;
class control_word_list;

// The library area: the selected class's name and count, the cloud button with its loading bar, and
// the class strip over the phrase list.
class control_word : public QWidget, public control_word_class_delegate, public controller_cloud_delegate {
    Q_OBJECT
public:
    explicit control_word(QWidget *parent = nullptr);
    ~control_word() override;

    QWidget *topVIew = nullptr;
    QWidget *dowView = nullptr;
    QProgressBar *loadingBar = nullptr;
    ImageButton *cloudButton = nullptr;
    QSplitter *splitView = nullptr;
    NSTextFieldS *labelTextView = nullptr;
    control_word_class *wordClassViewController = nullptr;
    control_word_list *wordListViewController = nullptr;

    static constexpr int classStripHeight = 30;

    void onSelectChange(const std::optional<DataWordClass> &data) override;
    void cloudButtonClick();
    void onCloudStart() override;
    void onCloudStop() override;

Q_SIGNALS:
    void cloudStarted();
    void cloudStopped();

private:
    void refreshLabel();

    std::optional<DataWordClass> shown_;
};
