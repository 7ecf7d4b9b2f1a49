# The quick bar: the strip and its slots are widgets; the global shortcuts need no widgets.
target_sources(quillora-ui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/nsscrubberbuttonitemview.cpp ${CMAKE_CURRENT_LIST_DIR}/nsscrubberbuttonitemview.h
  ${CMAKE_CURRENT_LIST_DIR}/quickbar.cpp ${CMAKE_CURRENT_LIST_DIR}/quickbar.h
  ${CMAKE_CURRENT_LIST_DIR}/touchbarcontroller.cpp ${CMAKE_CURRENT_LIST_DIR}/touchbarcontroller.h)
target_sources(quillora-core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/quickbarkeys.cpp ${CMAKE_CURRENT_LIST_DIR}/quickbarkeys.h)
