target_sources(quillora-ui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/appdelegate.cpp ${CMAKE_CURRENT_LIST_DIR}/appdelegate.h
  ${CMAKE_CURRENT_LIST_DIR}/loginviewcontroller.cpp ${CMAKE_CURRENT_LIST_DIR}/loginviewcontroller.h
  ${CMAKE_CURRENT_LIST_DIR}/mainwindowcontroller.cpp ${CMAKE_CURRENT_LIST_DIR}/mainwindowcontroller.h
  ${CMAKE_CURRENT_LIST_DIR}/webviewcontroller.cpp ${CMAKE_CURRENT_LIST_DIR}/webviewcontroller.h
  ${CMAKE_CURRENT_LIST_DIR}/resources/app.qrc)

add_executable(quillora ${CMAKE_CURRENT_LIST_DIR}/main.cpp)
target_link_libraries(quillora PRIVATE quillora-ui)
