# The Wayland desktop back-end for wlroots compositors and KDE Plasma. Client code for the
# protocols is generated at build time from the descriptions Debian ships: the wlroots ones inside
# its Rust wayland-protocols source package (no other package carries them), KDE's in
# plasma-wayland-protocols.
pkg_check_modules(WAYLANDLIBS REQUIRED IMPORTED_TARGET wayland-client xkbcommon)
pkg_get_variable(WAYLAND_SCANNER wayland-scanner wayland_scanner)
file(GLOB wlr_protocol_dirs /usr/share/cargo/registry/wayland-protocols-*/wlr-protocols/unstable)
list(SORT wlr_protocol_dirs ORDER DESCENDING)
find_path(WLR_PROTOCOL_DIR wlr-foreign-toplevel-management-unstable-v1.xml PATHS ${wlr_protocol_dirs} NO_DEFAULT_PATH
          REQUIRED)
find_path(PLASMA_PROTOCOL_DIR plasma-window-management.xml PATHS /usr/share/plasma-wayland-protocols NO_DEFAULT_PATH
          REQUIRED)

set(wayland_generated ${CMAKE_CURRENT_BINARY_DIR}/wayland-protocols)
file(MAKE_DIRECTORY ${wayland_generated})
set(wayland_protocol_code)
foreach(protocol wlr-foreign-toplevel-management-unstable-v1 wlr-data-control-unstable-v1 plasma-window-management
        fake-input)
  if(protocol MATCHES "^wlr-")
    set(xml ${WLR_PROTOCOL_DIR}/${protocol}.xml)
  else()
    set(xml ${PLASMA_PROTOCOL_DIR}/${protocol}.xml)
  endif()
  add_custom_command(
    OUTPUT ${wayland_generated}/${protocol}-client-protocol.h ${wayland_generated}/${protocol}-protocol.c
    COMMAND ${WAYLAND_SCANNER} client-header ${xml} ${wayland_generated}/${protocol}-client-protocol.h
    COMMAND ${WAYLAND_SCANNER} private-code ${xml} ${wayland_generated}/${protocol}-protocol.c
    DEPENDS ${xml} VERBATIM)
  list(APPEND wayland_protocol_code ${wayland_generated}/${protocol}-protocol.c
       ${wayland_generated}/${protocol}-client-protocol.h)
endforeach()
# Generated C, with the scanner's own style.
add_library(quillora-wayland-protocols OBJECT ${wayland_protocol_code})
target_compile_options(quillora-wayland-protocols PRIVATE -w)
target_include_directories(quillora-wayland-protocols PUBLIC ${wayland_generated})
target_link_libraries(quillora-wayland-protocols PUBLIC PkgConfig::WAYLANDLIBS)

target_sources(quillora-core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/applicationicon.cpp ${CMAKE_CURRENT_LIST_DIR}/applicationicon.h
  ${CMAKE_CURRENT_LIST_DIR}/fakekeyinput.cpp ${CMAKE_CURRENT_LIST_DIR}/fakekeyinput.h
  ${CMAKE_CURRENT_LIST_DIR}/keymapcodes.cpp ${CMAKE_CURRENT_LIST_DIR}/keymapcodes.h
  ${CMAKE_CURRENT_LIST_DIR}/plasmawindowlist.cpp ${CMAKE_CURRENT_LIST_DIR}/plasmawindowlist.h
  ${CMAKE_CURRENT_LIST_DIR}/threadtasks.cpp ${CMAKE_CURRENT_LIST_DIR}/threadtasks.h
  ${CMAKE_CURRENT_LIST_DIR}/virtualkeyboardinput.cpp ${CMAKE_CURRENT_LIST_DIR}/virtualkeyboardinput.h
  ${CMAKE_CURRENT_LIST_DIR}/virtualkeyboardprotocol.cpp ${CMAKE_CURRENT_LIST_DIR}/virtualkeyboardprotocol.h
  ${CMAKE_CURRENT_LIST_DIR}/virtualkeymap.cpp ${CMAKE_CURRENT_LIST_DIR}/virtualkeymap.h
  ${CMAKE_CURRENT_LIST_DIR}/waylandbackend.cpp ${CMAKE_CURRENT_LIST_DIR}/waylandbackend.h
  ${CMAKE_CURRENT_LIST_DIR}/waylandkeyinput.h ${CMAKE_CURRENT_LIST_DIR}/waylandwindowlist.h
  ${CMAKE_CURRENT_LIST_DIR}/wlrwindowlist.cpp ${CMAKE_CURRENT_LIST_DIR}/wlrwindowlist.h
  $<TARGET_OBJECTS:quillora-wayland-protocols>)
target_include_directories(quillora-core PRIVATE ${wayland_generated})
target_link_libraries(quillora-core PUBLIC PkgConfig::WAYLANDLIBS)
add_dependencies(quillora-core quillora-wayland-protocols)
