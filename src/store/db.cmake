target_sources(quillora-core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/localstore.cpp ${CMAKE_CURRENT_LIST_DIR}/localstore.h
  ${CMAKE_CURRENT_LIST_DIR}/classstore.cpp ${CMAKE_CURRENT_LIST_DIR}/classstore.h
  ${CMAKE_CURRENT_LIST_DIR}/phrasestore.cpp ${CMAKE_CURRENT_LIST_DIR}/phrasestore.h
  ${CMAKE_CURRENT_LIST_DIR}/teamstore.cpp ${CMAKE_CURRENT_LIST_DIR}/teamstore.h
  ${CMAKE_CURRENT_LIST_DIR}/likematch.cpp ${CMAKE_CURRENT_LIST_DIR}/likematch.h)
