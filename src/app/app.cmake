target_sources(quillora-ui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/appcontroller.cpp ${CMAKE_CURRENT_LIST_DIR}/appcontroller.h
  ${CMAKE_CURRENT_LIST_DIR}/librarydialogs.cpp ${CMAKE_CURRENT_LIST_DIR}/librarydialogs.h
  ${CMAKE_CURRENT_LIST_DIR}/signinview.cpp ${CMAKE_CURRENT_LIST_DIR}/signinview.h
  ${CMAKE_CURRENT_LIST_DIR}/mainwindow.cpp ${CMAKE_CURRENT_LIST_DIR}/mainwindow.h
  ${CMAKE_CURRENT_LIST_DIR}/webviewmodule.cpp ${CMAKE_CURRENT_LIST_DIR}/webviewmodule.h
  ${CMAKE_CURRENT_LIST_DIR}/webpageopener.h
  ${CMAKE_CURRENT_LIST_DIR}/resources/app.qrc)

add_executable(quillora ${CMAKE_CURRENT_LIST_DIR}/main.cpp)
target_link_libraries(quillora PRIVATE quillora-ui)
