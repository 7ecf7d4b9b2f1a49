# The desktop back-end for GNOME's Wayland session: its Shell extension (dist/gnome-shell) and the
# desktop portal, both over the session bus.
find_package(Qt6 REQUIRED COMPONENTS DBus)
target_sources(quillora-core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/gnomebackend.cpp ${CMAKE_CURRENT_LIST_DIR}/gnomebackend.h
  ${CMAKE_CURRENT_LIST_DIR}/remotedesktopportal.cpp ${CMAKE_CURRENT_LIST_DIR}/remotedesktopportal.h
  ${CMAKE_CURRENT_LIST_DIR}/shellwindows.cpp ${CMAKE_CURRENT_LIST_DIR}/shellwindows.h)
target_link_libraries(quillora-core PUBLIC Qt6::DBus)
