#pragma once

class HomeView;
struct LibraryContext;

// Opens the editor's dialogs when the home window's lists ask for them: the lists live below the
// editor and only say what the agent chose.
namespace librarydialogs {

void attach(HomeView *home, LibraryContext &library);

} // namespace librarydialogs
