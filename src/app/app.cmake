target_sources(quillora-ui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/appcontroller.cpp ${CMAKE_CURRENT_LIST_DIR}/appcontroller.h
  ${CMAKE_CURRENT_LIST_DIR}/autostart.cpp ${CMAKE_CURRENT_LIST_DIR}/autostart.h
  ${CMAKE_CURRENT_LIST_DIR}/instancechannel.cpp ${CMAKE_CURRENT_LIST_DIR}/instancechannel.h
  ${CMAKE_CURRENT_LIST_DIR}/librarydialogs.cpp ${CMAKE_CURRENT_LIST_DIR}/librarydialogs.h
  ${CMAKE_CURRENT_LIST_DIR}/session.cpp ${CMAKE_CURRENT_LIST_DIR}/session.h
  ${CMAKE_CURRENT_LIST_DIR}/signinview.cpp ${CMAKE_CURRENT_LIST_DIR}/signinview.h
  ${CMAKE_CURRENT_LIST_DIR}/trayicon.cpp ${CMAKE_CURRENT_LIST_DIR}/trayicon.h
  ${CMAKE_CURRENT_LIST_DIR}/mainwindow.cpp ${CMAKE_CURRENT_LIST_DIR}/mainwindow.h
  ${CMAKE_CURRENT_LIST_DIR}/webviewmodule.cpp ${CMAKE_CURRENT_LIST_DIR}/webviewmodule.h
  ${CMAKE_CURRENT_LIST_DIR}/webpageopener.h
  ${CMAKE_CURRENT_LIST_DIR}/resources/app.qrc)

add_executable(quillora ${CMAKE_CURRENT_LIST_DIR}/main.cpp)
target_link_libraries(quillora PRIVATE quillora-ui)
target_compile_definitions(quillora PRIVATE QUILLORA_VERSION="${PROJECT_VERSION}")

install(TARGETS quillora RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# Installed, the web view module lives in the library folder; the application finds it from its own.
set_source_files_properties(${CMAKE_CURRENT_LIST_DIR}/webviewmodule.cpp PROPERTIES COMPILE_DEFINITIONS
  "QUILLORA_INSTALLED_MODULE_DIR=\"../${CMAKE_INSTALL_LIBDIR}/quillora\"")
