target_sources(quillora-ui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/classcelllistener.h
  ${CMAKE_CURRENT_LIST_DIR}/phraseidmodel.cpp ${CMAKE_CURRENT_LIST_DIR}/phraseidmodel.h
  ${CMAKE_CURRENT_LIST_DIR}/phraselistview.cpp ${CMAKE_CURRENT_LIST_DIR}/phraselistview.h
  ${CMAKE_CURRENT_LIST_DIR}/phraserowdelegate.cpp ${CMAKE_CURRENT_LIST_DIR}/phraserowdelegate.h
  ${CMAKE_CURRENT_LIST_DIR}/classcell.cpp ${CMAKE_CURRENT_LIST_DIR}/classcell.h
  ${CMAKE_CURRENT_LIST_DIR}/searchresultlist.cpp ${CMAKE_CURRENT_LIST_DIR}/searchresultlist.h
  ${CMAKE_CURRENT_LIST_DIR}/librarypanel.cpp ${CMAKE_CURRENT_LIST_DIR}/librarypanel.h
  ${CMAKE_CURRENT_LIST_DIR}/classlist.cpp ${CMAKE_CURRENT_LIST_DIR}/classlist.h
  ${CMAKE_CURRENT_LIST_DIR}/phraselist.cpp ${CMAKE_CURRENT_LIST_DIR}/phraselist.h
  ${CMAKE_CURRENT_LIST_DIR}/keywordcolouring.cpp ${CMAKE_CURRENT_LIST_DIR}/keywordcolouring.h
  ${CMAKE_CURRENT_LIST_DIR}/homeview.cpp ${CMAKE_CURRENT_LIST_DIR}/homeview.h
  ${CMAKE_CURRENT_LIST_DIR}/listselection.cpp ${CMAKE_CURRENT_LIST_DIR}/listselection.h)
