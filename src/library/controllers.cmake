target_sources(quillora-core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/classoperations.cpp ${CMAKE_CURRENT_LIST_DIR}/classoperations.h
  ${CMAKE_CURRENT_LIST_DIR}/librarycontext.h
  ${CMAKE_CURRENT_LIST_DIR}/phraseoperations.cpp ${CMAKE_CURRENT_LIST_DIR}/phraseoperations.h)
