target_sources(quillora-ui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/backgroundview.cpp ${CMAKE_CURRENT_LIST_DIR}/backgroundview.h
  ${CMAKE_CURRENT_LIST_DIR}/hovertracked.h
  ${CMAKE_CURRENT_LIST_DIR}/imagebutton.cpp ${CMAKE_CURRENT_LIST_DIR}/imagebutton.h
  ${CMAKE_CURRENT_LIST_DIR}/nstextfields.cpp ${CMAKE_CURRENT_LIST_DIR}/nstextfields.h
  ${CMAKE_CURRENT_LIST_DIR}/sbwindowcontroller.cpp ${CMAKE_CURRENT_LIST_DIR}/sbwindowcontroller.h)
