#pragma once

class QWindow;

// Window placement.
namespace WindowUtils {

// After 0.1 s, centres the window on the primary screen (a widget passes its windowHandle()).
void moveToCenter(QWindow *window);

} // namespace WindowUtils
