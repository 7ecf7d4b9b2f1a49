target_sources(quillora-ui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/cell_word_class_delegate.h
  ${CMAKE_CURRENT_LIST_DIR}/cell_word_list_delegate.h
  ${CMAKE_CURRENT_LIST_DIR}/cell_word_list.cpp ${CMAKE_CURRENT_LIST_DIR}/cell_word_list.h
  ${CMAKE_CURRENT_LIST_DIR}/cell_word_list_2.cpp ${CMAKE_CURRENT_LIST_DIR}/cell_word_list_2.h
  ${CMAKE_CURRENT_LIST_DIR}/cell_wrod_class.cpp ${CMAKE_CURRENT_LIST_DIR}/cell_wrod_class.h
  ${CMAKE_CURRENT_LIST_DIR}/control_search_resulr_word_list.cpp ${CMAKE_CURRENT_LIST_DIR}/control_search_resulr_word_list.h
  ${CMAKE_CURRENT_LIST_DIR}/control_word.cpp ${CMAKE_CURRENT_LIST_DIR}/control_word.h
  ${CMAKE_CURRENT_LIST_DIR}/control_word_class.cpp ${CMAKE_CURRENT_LIST_DIR}/control_word_class.h
  ${CMAKE_CURRENT_LIST_DIR}/control_word_class_delegate.h
  ${CMAKE_CURRENT_LIST_DIR}/control_word_list.cpp ${CMAKE_CURRENT_LIST_DIR}/control_word_list.h
  ${CMAKE_CURRENT_LIST_DIR}/extension_string_color.cpp ${CMAKE_CURRENT_LIST_DIR}/extension_string_color.h
  ${CMAKE_CURRENT_LIST_DIR}/homeviewcontrollers.cpp ${CMAKE_CURRENT_LIST_DIR}/homeviewcontrollers.h
  ${CMAKE_CURRENT_LIST_DIR}/lazycelllist.cpp ${CMAKE_CURRENT_LIST_DIR}/lazycelllist.h
  ${CMAKE_CURRENT_LIST_DIR}/listselection.cpp ${CMAKE_CURRENT_LIST_DIR}/listselection.h
  ${CMAKE_CURRENT_LIST_DIR}/phrasecell.cpp ${CMAKE_CURRENT_LIST_DIR}/phrasecell.h)
