#pragma once

class QWindow;

// Window placement helpers.
class WindowUtils {
public:
    WindowUtils() = delete;

    // After 0.1 s, centres the window on the primary screen (a widget passes its windowHandle()).
    static void moveToCenter(QWindow *window);
};
