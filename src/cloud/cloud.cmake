target_sources(quillora-core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/api_base.cpp ${CMAKE_CURRENT_LIST_DIR}/api_base.h
  ${CMAKE_CURRENT_LIST_DIR}/api_user.cpp ${CMAKE_CURRENT_LIST_DIR}/api_user.h
  ${CMAKE_CURRENT_LIST_DIR}/api_word_class.cpp ${CMAKE_CURRENT_LIST_DIR}/api_word_class.h
  ${CMAKE_CURRENT_LIST_DIR}/api_word_image.cpp ${CMAKE_CURRENT_LIST_DIR}/api_word_image.h
  ${CMAKE_CURRENT_LIST_DIR}/api_word_list.cpp ${CMAKE_CURRENT_LIST_DIR}/api_word_list.h
  ${CMAKE_CURRENT_LIST_DIR}/apiloginresult.h
  ${CMAKE_CURRENT_LIST_DIR}/apiresulrdowimage.h
  ${CMAKE_CURRENT_LIST_DIR}/apiresultbase.h
  ${CMAKE_CURRENT_LIST_DIR}/apiresultcreate.h
  ${CMAKE_CURRENT_LIST_DIR}/apiresultlist.h
  ${CMAKE_CURRENT_LIST_DIR}/apiresultwordclasgetall.h
  ${CMAKE_CURRENT_LIST_DIR}/apiresultwordlistgetall.h
  ${CMAKE_CURRENT_LIST_DIR}/appsetting.cpp ${CMAKE_CURRENT_LIST_DIR}/appsetting.h
  ${CMAKE_CURRENT_LIST_DIR}/controller_cloud.cpp ${CMAKE_CURRENT_LIST_DIR}/controller_cloud.h
  ${CMAKE_CURRENT_LIST_DIR}/controller_cloud_delegate.h
  ${CMAKE_CURRENT_LIST_DIR}/controller_synccheck.cpp ${CMAKE_CURRENT_LIST_DIR}/controller_synccheck.h
  ${CMAKE_CURRENT_LIST_DIR}/imageutil.cpp ${CMAKE_CURRENT_LIST_DIR}/imageutil.h
  ${CMAKE_CURRENT_LIST_DIR}/mhttp.cpp ${CMAKE_CURRENT_LIST_DIR}/mhttp.h
  ${CMAKE_CURRENT_LIST_DIR}/mhttpjsonresult.h
  ${CMAKE_CURRENT_LIST_DIR}/mhttpjsonresults.h
  ${CMAKE_CURRENT_LIST_DIR}/rc4.cpp ${CMAKE_CURRENT_LIST_DIR}/rc4.h
  ${CMAKE_CURRENT_LIST_DIR}/uploadprocedure.cpp ${CMAKE_CURRENT_LIST_DIR}/uploadprocedure.h
  ${CMAKE_CURRENT_LIST_DIR}/versiongate.cpp ${CMAKE_CURRENT_LIST_DIR}/versiongate.h)
