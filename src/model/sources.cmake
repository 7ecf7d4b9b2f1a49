target_sources(quillora-core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/logging.cpp ${CMAKE_CURRENT_LIST_DIR}/logging.h
  ${CMAKE_CURRENT_LIST_DIR}/result.h
  ${CMAKE_CURRENT_LIST_DIR}/settings.cpp ${CMAKE_CURRENT_LIST_DIR}/settings.h
  ${CMAKE_CURRENT_LIST_DIR}/phrasecontent.cpp ${CMAKE_CURRENT_LIST_DIR}/phrasecontent.h
  ${CMAKE_CURRENT_LIST_DIR}/pathops.cpp ${CMAKE_CURRENT_LIST_DIR}/pathops.h
  ${CMAKE_CURRENT_LIST_DIR}/phraseclass.h
  ${CMAKE_CURRENT_LIST_DIR}/phrase.cpp ${CMAKE_CURRENT_LIST_DIR}/phrase.h
  ${CMAKE_CURRENT_LIST_DIR}/phraselistreply.cpp ${CMAKE_CURRENT_LIST_DIR}/phraselistreply.h)
