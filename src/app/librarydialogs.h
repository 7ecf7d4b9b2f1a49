#pragma once

class HomeView;

// Opens the editor's dialogs when the home window's lists ask for them: the lists live below the
// editor and only say what the agent chose.
class LibraryDialogs {
public:
    LibraryDialogs() = delete;

    static void attach(HomeView *home);
};
