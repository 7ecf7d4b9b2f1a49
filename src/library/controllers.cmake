target_sources(quillora-core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/controller_word_class.cpp ${CMAKE_CURRENT_LIST_DIR}/controller_word_class.h
  ${CMAKE_CURRENT_LIST_DIR}/controller_word_class_delegate.h
  ${CMAKE_CURRENT_LIST_DIR}/controller_rows.h
  ${CMAKE_CURRENT_LIST_DIR}/controller_word_list.cpp ${CMAKE_CURRENT_LIST_DIR}/controller_word_list.h
  ${CMAKE_CURRENT_LIST_DIR}/controller_word_list_delegate.h)
