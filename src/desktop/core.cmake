target_sources(quillora-core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/clipboardrequests.cpp ${CMAKE_CURRENT_LIST_DIR}/clipboardrequests.h
  ${CMAKE_CURRENT_LIST_DIR}/colorschemeportal.cpp ${CMAKE_CURRENT_LIST_DIR}/colorschemeportal.h
  ${CMAKE_CURRENT_LIST_DIR}/desktopbackend.cpp ${CMAKE_CURRENT_LIST_DIR}/desktopbackend.h
  ${CMAKE_CURRENT_LIST_DIR}/runningapplication.h
  ${CMAKE_CURRENT_LIST_DIR}/windowutils.cpp ${CMAKE_CURRENT_LIST_DIR}/windowutils.h)
