# Which desktop back-end the session gets.
target_sources(quillora-core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/desktopsession.cpp ${CMAKE_CURRENT_LIST_DIR}/desktopsession.h)
