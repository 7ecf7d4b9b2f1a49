target_sources(quillora-ui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/hovertracked.h
  ${CMAKE_CURRENT_LIST_DIR}/imagebutton.cpp ${CMAKE_CURRENT_LIST_DIR}/imagebutton.h
  ${CMAKE_CURRENT_LIST_DIR}/elidedlabel.cpp ${CMAKE_CURRENT_LIST_DIR}/elidedlabel.h
  ${CMAKE_CURRENT_LIST_DIR}/appearance.cpp ${CMAKE_CURRENT_LIST_DIR}/appearance.h
  ${CMAKE_CURRENT_LIST_DIR}/palettestylesheet.cpp ${CMAKE_CURRENT_LIST_DIR}/palettestylesheet.h
  ${CMAKE_CURRENT_LIST_DIR}/themecolors.cpp ${CMAKE_CURRENT_LIST_DIR}/themecolors.h)
target_sources(quillora-ui PRIVATE ${CMAKE_CURRENT_LIST_DIR}/sendbutton.cpp ${CMAKE_CURRENT_LIST_DIR}/sendbutton.h)
