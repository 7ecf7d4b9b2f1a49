target_sources(quillora-core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/serviceapi.cpp ${CMAKE_CURRENT_LIST_DIR}/serviceapi.h
  ${CMAKE_CURRENT_LIST_DIR}/accountapi.cpp ${CMAKE_CURRENT_LIST_DIR}/accountapi.h
  ${CMAKE_CURRENT_LIST_DIR}/classapi.cpp ${CMAKE_CURRENT_LIST_DIR}/classapi.h
  ${CMAKE_CURRENT_LIST_DIR}/pictureapi.cpp ${CMAKE_CURRENT_LIST_DIR}/pictureapi.h
  ${CMAKE_CURRENT_LIST_DIR}/phraseapi.cpp ${CMAKE_CURRENT_LIST_DIR}/phraseapi.h
  ${CMAKE_CURRENT_LIST_DIR}/loginresult.h
  ${CMAKE_CURRENT_LIST_DIR}/picturedownloadresult.h
  ${CMAKE_CURRENT_LIST_DIR}/callresult.h
  ${CMAKE_CURRENT_LIST_DIR}/createresult.h
  ${CMAKE_CURRENT_LIST_DIR}/listresult.h
  ${CMAKE_CURRENT_LIST_DIR}/classlistresult.h
  ${CMAKE_CURRENT_LIST_DIR}/phraselistresult.h
  ${CMAKE_CURRENT_LIST_DIR}/librarysync.cpp ${CMAKE_CURRENT_LIST_DIR}/librarysync.h
  ${CMAKE_CURRENT_LIST_DIR}/sessionheartbeat.cpp ${CMAKE_CURRENT_LIST_DIR}/sessionheartbeat.h
  ${CMAKE_CURRENT_LIST_DIR}/imageutil.cpp ${CMAKE_CURRENT_LIST_DIR}/imageutil.h
  ${CMAKE_CURRENT_LIST_DIR}/httptransport.cpp ${CMAKE_CURRENT_LIST_DIR}/httptransport.h
  ${CMAKE_CURRENT_LIST_DIR}/jsonreply.h
  ${CMAKE_CURRENT_LIST_DIR}/textreply.h
  ${CMAKE_CURRENT_LIST_DIR}/rc4cipher.cpp ${CMAKE_CURRENT_LIST_DIR}/rc4cipher.h
  ${CMAKE_CURRENT_LIST_DIR}/uploadprocedure.cpp ${CMAKE_CURRENT_LIST_DIR}/uploadprocedure.h
  ${CMAKE_CURRENT_LIST_DIR}/versiongate.cpp ${CMAKE_CURRENT_LIST_DIR}/versiongate.h)
