#include "model/app.h"

QPointer<QObject> App::wordTouchBar;

DataUserFrom &App::userInfo() {
    static DataUserFrom user; // thread-safe one-time initialisation
    return user;
}
