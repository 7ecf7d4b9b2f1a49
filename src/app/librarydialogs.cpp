#include "app/librarydialogs.h"

#include "cloud/teamlibraries.h"
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
                         const QString dbname =
                             shown ? shown->username : home->libraryPanel->classList->currentLibrary();
                         ClassDialog dialog(library.libraries.classOperations(dbname), shown, home->window());
                         dialog.setWindowTitle(QString::fromUtf8(shown ? "编辑分类" : "添加分类"));
                         dialog.exec();
                     });
    QObject::connect(
        home->libraryPanel->phraseList, &PhraseList::createPhraseRequested, home,
        [home, &library](const QString &classSign) {
            const QString dbname = home->libraryPanel->phraseList->username.value_or(library.username);
            CreatePhraseDialog dialog(library.libraries.phraseOperations(dbname), classSign, home->window());
            dialog.exec();
        });
    QObject::connect(home->libraryPanel->phraseList, &PhraseList::editPhraseRequested, home,
                     [home, &library](const Phrase &phrase) {
                         // A phrase moves among the classes of its own library only.
                         EditPhraseDialog dialog(library.libraries.phraseOperations(phrase.username),
                                                 library.classes.getAll(phrase.username), phrase,
                                                 home->window());
                         dialog.exec();
                     });
}
