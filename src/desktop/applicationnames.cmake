target_sources(quillora-core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/applicationnames.cpp ${CMAKE_CURRENT_LIST_DIR}/applicationnames.h
  ${CMAKE_CURRENT_LIST_DIR}/desktopentry.cpp ${CMAKE_CURRENT_LIST_DIR}/desktopentry.h)
