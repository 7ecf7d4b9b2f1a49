target_sources(quillora-ui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/hoverview.cpp ${CMAKE_CURRENT_LIST_DIR}/hoverview.h
  ${CMAKE_CURRENT_LIST_DIR}/messagebox.cpp ${CMAKE_CURRENT_LIST_DIR}/messagebox.h
  ${CMAKE_CURRENT_LIST_DIR}/messageboxanswerer.cpp ${CMAKE_CURRENT_LIST_DIR}/messageboxanswerer.h)
