target_sources(quillora-core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/appfileutil.cpp ${CMAKE_CURRENT_LIST_DIR}/appfileutil.h
  ${CMAKE_CURRENT_LIST_DIR}/base64ops.cpp ${CMAKE_CURRENT_LIST_DIR}/base64ops.h
  ${CMAKE_CURRENT_LIST_DIR}/phrasesearchindex.cpp ${CMAKE_CURRENT_LIST_DIR}/phrasesearchindex.h
  ${CMAKE_CURRENT_LIST_DIR}/storechanges.h
  ${CMAKE_CURRENT_LIST_DIR}/localpath.cpp ${CMAKE_CURRENT_LIST_DIR}/localpath.h)
