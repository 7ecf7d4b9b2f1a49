target_sources(quillora-ui PRIVATE ${CMAKE_CURRENT_LIST_DIR}/librarycontext.h)
