# The quick bar: the strip and its slots are widgets; the global shortcuts need no widgets.
target_sources(quillora-ui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/quickbarslot.cpp ${CMAKE_CURRENT_LIST_DIR}/quickbarslot.h
  ${CMAKE_CURRENT_LIST_DIR}/quickbar.cpp ${CMAKE_CURRENT_LIST_DIR}/quickbar.h
  ${CMAKE_CURRENT_LIST_DIR}/quickbarentry.cpp ${CMAKE_CURRENT_LIST_DIR}/quickbarentry.h)
target_sources(quillora-core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/quickbarshortcuts.cpp ${CMAKE_CURRENT_LIST_DIR}/quickbarshortcuts.h)
