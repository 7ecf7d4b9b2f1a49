target_sources(quillora-ui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/edittextview.cpp ${CMAKE_CURRENT_LIST_DIR}/edittextview.h)
target_sources(quillora-ui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/cell_emoji.cpp ${CMAKE_CURRENT_LIST_DIR}/cell_emoji.h
  ${CMAKE_CURRENT_LIST_DIR}/cell_emoji_delegate.h
  ${CMAKE_CURRENT_LIST_DIR}/control_emojis.cpp ${CMAKE_CURRENT_LIST_DIR}/control_emojis.h
  ${CMAKE_CURRENT_LIST_DIR}/control_emojis_delegate.h)
target_sources(quillora-ui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/control_upimage.cpp ${CMAKE_CURRENT_LIST_DIR}/control_upimage.h
  ${CMAKE_CURRENT_LIST_DIR}/createlistviewcontrollel.cpp ${CMAKE_CURRENT_LIST_DIR}/createlistviewcontrollel.h
  ${CMAKE_CURRENT_LIST_DIR}/editclassviewcontroller.cpp ${CMAKE_CURRENT_LIST_DIR}/editclassviewcontroller.h
  ${CMAKE_CURRENT_LIST_DIR}/editlistviewcontroller.cpp ${CMAKE_CURRENT_LIST_DIR}/editlistviewcontroller.h
  ${CMAKE_CURRENT_LIST_DIR}/phrasedialog.cpp ${CMAKE_CURRENT_LIST_DIR}/phrasedialog.h)
