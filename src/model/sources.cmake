target_sources(quillora-core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/app.cpp ${CMAKE_CURRENT_LIST_DIR}/app.h
  ${CMAKE_CURRENT_LIST_DIR}/contentformat.cpp ${CMAKE_CURRENT_LIST_DIR}/contentformat.h
  ${CMAKE_CURRENT_LIST_DIR}/datajsonitem.h
  ${CMAKE_CURRENT_LIST_DIR}/dataresult.h
  ${CMAKE_CURRENT_LIST_DIR}/datauserfrom.h
  ${CMAKE_CURRENT_LIST_DIR}/datawordclass.h
  ${CMAKE_CURRENT_LIST_DIR}/datawordlist.cpp ${CMAKE_CURRENT_LIST_DIR}/datawordlist.h
  ${CMAKE_CURRENT_LIST_DIR}/wordlistjson.cpp ${CMAKE_CURRENT_LIST_DIR}/wordlistjson.h)
