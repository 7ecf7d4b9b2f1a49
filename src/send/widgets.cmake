target_sources(quillora-ui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/sendbutton.cpp ${CMAKE_CURRENT_LIST_DIR}/sendbutton.h)
