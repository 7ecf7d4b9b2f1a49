target_sources(quillora-core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/db_base.cpp ${CMAKE_CURRENT_LIST_DIR}/db_base.h
  ${CMAKE_CURRENT_LIST_DIR}/db_word_class.cpp ${CMAKE_CURRENT_LIST_DIR}/db_word_class.h
  ${CMAKE_CURRENT_LIST_DIR}/db_word_list.cpp ${CMAKE_CURRENT_LIST_DIR}/db_word_list.h  ${CMAKE_CURRENT_LIST_DIR}/likematch.cpp ${CMAKE_CURRENT_LIST_DIR}/likematch.h)
