# Which desktop back-end the session gets, and the window manager's own channel where we need one.
target_sources(quillora-core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/desktopsession.cpp ${CMAKE_CURRENT_LIST_DIR}/desktopsession.h
  ${CMAKE_CURRENT_LIST_DIR}/swaycommand.cpp ${CMAKE_CURRENT_LIST_DIR}/swaycommand.h)
