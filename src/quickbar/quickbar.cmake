# The quick bar: the strip, its slots and its tray/toolbar entry.
target_sources(quillora-ui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/quickbarslot.cpp ${CMAKE_CURRENT_LIST_DIR}/quickbarslot.h
  ${CMAKE_CURRENT_LIST_DIR}/quickbar.cpp ${CMAKE_CURRENT_LIST_DIR}/quickbar.h
  ${CMAKE_CURRENT_LIST_DIR}/quickbaricon.cpp ${CMAKE_CURRENT_LIST_DIR}/quickbaricon.h)
