#include "app/librarydialogs.h"

#include "editor/classdialog.h"
#include "editor/createphrasedialog.h"
#include "editor/editphrasedialog.h"
#include "library/classlist.h"
#include "library/homeview.h"
#include "library/librarypanel.h"
#include "library/phraselist.h"
#include "model/app.h"

void LibraryDialogs::attach(HomeView *home) {
    QObject::connect(home->libraryPanel->classList, &ClassList::classDialogRequested, home,
                     [home](const std::optional<PhraseClass> &shown) {
                         ClassDialog dialog(shown, home->window());
                         dialog.setWindowTitle(QString::fromUtf8(shown ? "编辑分类" : "添加分类"));
                         dialog.exec();
                     });
    QObject::connect(home->libraryPanel->phraseList, &PhraseList::createPhraseRequested, home,
                     [home](const QString &classSign) {
                         CreatePhraseDialog dialog(classSign, App::userInfo().username, home->window());
                         dialog.exec();
                     });
    QObject::connect(home->libraryPanel->phraseList, &PhraseList::editPhraseRequested, home,
                     [home](const Phrase &phrase) {
                         EditPhraseDialog dialog(phrase, home->window());
                         dialog.exec();
                     });
}
