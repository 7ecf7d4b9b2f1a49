# The web view lives in a module of its own so that the application does not load the web engine
# until a service page is opened. It lies next to the executable, where WebViewModule looks for it.
add_library(quillora-webview MODULE
  ${CMAKE_CURRENT_LIST_DIR}/webview/webpageview.cpp ${CMAKE_CURRENT_LIST_DIR}/webview/webpageview.h
  ${CMAKE_CURRENT_LIST_DIR}/webview/webviewplugin.cpp ${CMAKE_CURRENT_LIST_DIR}/webview/webviewplugin.h
  ${CMAKE_CURRENT_LIST_DIR}/webpageopener.h)
set_target_properties(quillora-webview PROPERTIES
  PREFIX ""
  LIBRARY_OUTPUT_DIRECTORY $<TARGET_FILE_DIR:quillora>)
target_include_directories(quillora-webview PRIVATE ${CMAKE_CURRENT_LIST_DIR}/..)
target_compile_definitions(quillora-webview PRIVATE QT_NO_KEYWORDS)
target_link_libraries(quillora-webview PRIVATE Qt6::Widgets Qt6::WebEngineWidgets)
add_dependencies(quillora quillora-webview)
install(TARGETS quillora-webview LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/quillora)
