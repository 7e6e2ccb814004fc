# The target "doc": the reference of the public headers, as pages for a browser, in docs/api of the build. A warning of
# doxygen fails it.

add_custom_target(
   doc
   COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/docs
   COMMAND ${CMAKE_COMMAND} -E env LOGDB_VERSION=${PROJECT_VERSION} LOGDB_SOURCE_DIRECTORY=${PROJECT_SOURCE_DIR}
           LOGDB_DOC_DIRECTORY=${PROJECT_BINARY_DIR}/docs doxygen ${PROJECT_SOURCE_DIR}/docs/Doxyfile
   VERBATIM)
