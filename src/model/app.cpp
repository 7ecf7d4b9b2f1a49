#include "model/app.h"

QPointer<QObject> App::quickBar;

SignedInUser &App::userInfo() {
    static SignedInUser user; // thread-safe one-time initialisation
    return user;
}
