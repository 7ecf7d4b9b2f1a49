#include "app/librarydialogs.h"

#include "editor/classdialog.h"
#include "editor/createphrasedialog.h"
#include "editor/editphrasedialog.h"
#include "library/classlist.h"
#include "library/homeview.h"
#include "library/librarycontext.h"
#include "library/librarypanel.h"
#include "library/phraselist.h"
#include "store/classstore.h"

void librarydialogs::attach(HomeView *home, LibraryContext &library) {
    QObject::connect(home->libraryPanel->classList, &ClassList::classDialogRequested, home,
                     [home, &library](const std::optional<PhraseClass> &shown) {
                         ClassDialog dialog(library.classOperations, shown, home->window());
                         dialog.setWindowTitle(QString::fromUtf8(shown ? "编辑分类" : "添加分类"));
                         dialog.exec();
                     });
    QObject::connect(home->libraryPanel->phraseList, &PhraseList::createPhraseRequested, home,
                     [home, &library](const QString &classSign) {
                         CreatePhraseDialog dialog(library.phraseOperations, classSign, home->window());
                         dialog.exec();
                     });
    QObject::connect(home->libraryPanel->phraseList, &PhraseList::editPhraseRequested, home,
                     [home, &library](const Phrase &phrase) {
                         EditPhraseDialog dialog(library.phraseOperations,
                                                 library.classes.getAll(library.username), phrase,
                                                 home->window());
                         dialog.exec();
                     });
}
