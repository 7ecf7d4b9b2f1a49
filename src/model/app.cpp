#include "model/app.h"

QPointer<QObject> App::quickBar;
QPointer<QObject> App::trayMenu;

SignedInUser &App::userInfo() {
    static SignedInUser user; // thread-safe one-time initialisation
    return user;
}
