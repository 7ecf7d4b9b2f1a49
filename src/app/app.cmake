target_sources(quillora-ui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/appdelegate.cpp ${CMAKE_CURRENT_LIST_DIR}/appdelegate.h
  ${CMAKE_CURRENT_LIST_DIR}/loginviewcontroller.cpp ${CMAKE_CURRENT_LIST_DIR}/loginviewcontroller.h
  ${CMAKE_CURRENT_LIST_DIR}/mainwindowcontroller.cpp ${CMAKE_CURRENT_LIST_DIR}/mainwindowcontroller.h
  ${CMAKE_CURRENT_LIST_DIR}/webviewmodule.cpp ${CMAKE_CURRENT_LIST_DIR}/webviewmodule.h
  ${CMAKE_CURRENT_LIST_DIR}/webpageopener.h
  ${CMAKE_CURRENT_LIST_DIR}/resources/app.qrc)

add_executable(quillora ${CMAKE_CURRENT_LIST_DIR}/main.cpp)
target_link_libraries(quillora PRIVATE quillora-ui)
