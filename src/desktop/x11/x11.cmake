# Key codes come from the server's keymap through xkbcommon, on the back-end's own connection.
pkg_check_modules(X11KEYMAPLIBS REQUIRED IMPORTED_TARGET xkbcommon-x11 x11-xcb)
target_sources(quillora-core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/x11backend.cpp ${CMAKE_CURRENT_LIST_DIR}/x11backend.h
  ${CMAKE_CURRENT_LIST_DIR}/x11keymap.cpp ${CMAKE_CURRENT_LIST_DIR}/x11keymap.h
  ${CMAKE_CURRENT_LIST_DIR}/selectionrequestfilter.cpp ${CMAKE_CURRENT_LIST_DIR}/selectionrequestfilter.h
  ${CMAKE_CURRENT_LIST_DIR}/x11frontwatcher.cpp ${CMAKE_CURRENT_LIST_DIR}/x11frontwatcher.h
  ${CMAKE_CURRENT_LIST_DIR}/x11resources.h)
# Global keys for the quick bar's slots: grabs on the root window, no widgets.
target_sources(quillora-core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/quickbarshortcuts.cpp ${CMAKE_CURRENT_LIST_DIR}/quickbarshortcuts.h)
target_link_libraries(quillora-core PUBLIC PkgConfig::X11KEYMAPLIBS)
