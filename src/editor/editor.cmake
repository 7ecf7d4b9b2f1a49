target_sources(quillora-ui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/phraseeditor.cpp ${CMAKE_CURRENT_LIST_DIR}/phraseeditor.h)
target_sources(quillora-ui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/emojicell.cpp ${CMAKE_CURRENT_LIST_DIR}/emojicell.h
  ${CMAKE_CURRENT_LIST_DIR}/emojicelllistener.h
  ${CMAKE_CURRENT_LIST_DIR}/emojipicker.cpp ${CMAKE_CURRENT_LIST_DIR}/emojipicker.h
  ${CMAKE_CURRENT_LIST_DIR}/emojipickerlistener.h)
target_sources(quillora-ui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/pictureuploaddialog.cpp ${CMAKE_CURRENT_LIST_DIR}/pictureuploaddialog.h
  ${CMAKE_CURRENT_LIST_DIR}/createphrasedialog.cpp ${CMAKE_CURRENT_LIST_DIR}/createphrasedialog.h
  ${CMAKE_CURRENT_LIST_DIR}/classdialog.cpp ${CMAKE_CURRENT_LIST_DIR}/classdialog.h
  ${CMAKE_CURRENT_LIST_DIR}/editphrasedialog.cpp ${CMAKE_CURRENT_LIST_DIR}/editphrasedialog.h
  ${CMAKE_CURRENT_LIST_DIR}/phrasedialog.cpp ${CMAKE_CURRENT_LIST_DIR}/phrasedialog.h)
