# cmake --install: libraries, headers, the package for find_package(logdb CONFIG), the two for pkg-config, and the
# documents. All paths in it are relative, so a prefix may be moved. The target "uninstall" takes it away again.

include(CMakePackageConfigHelpers)

# First of all: which directories the prefix has already, so that uninstalling leaves these.
if(PROJECT_IS_TOP_LEVEL)
   configure_file(${PROJECT_SOURCE_DIR}/cmake/LogdbUninstall.cmake.in ${PROJECT_BINARY_DIR}/LogdbUninstall.cmake @ONLY)
   install(CODE "set(LOGDB_BEFORE_INSTALL ON)\ninclude(\"${PROJECT_BINARY_DIR}/LogdbUninstall.cmake\")")
   add_custom_target(uninstall COMMAND ${CMAKE_COMMAND} -P ${PROJECT_BINARY_DIR}/LogdbUninstall.cmake VERBATIM)
endif()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/logdb)
set(targets logdb logdb_static logdb_host_headers)
if(TARGET logdb_host)
   list(APPEND targets logdb_host logdb_host_static)
endif()
install(TARGETS ${targets} EXPORT logdb-targets)
install(EXPORT logdb-targets NAMESPACE logdb:: DESTINATION ${package_dir})

install(DIRECTORY ${PROJECT_SOURCE_DIR}/h/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/logdb FILES_MATCHING PATTERN *.h)
install(DIRECTORY ${LOGDB_HOST_INCLUDE_DIR}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/logdb
        FILES_MATCHING PATTERN *.h PATTERN standalone EXCLUDE)
if(TARGET logdb_host)
   install(FILES ${PROJECT_SOURCE_DIR}/host/standalone/host_standalone.h
           DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/logdb)
endif()

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/logdb-config.cmake.in
                              ${PROJECT_BINARY_DIR}/logdb-config.cmake INSTALL_DESTINATION ${package_dir}
                              NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/logdb-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/logdb-config.cmake ${PROJECT_BINARY_DIR}/logdb-config-version.cmake
        DESTINATION ${package_dir})

# The way from the .pc files up to the prefix, as many levels as the library folder is deep.
file(RELATIVE_PATH logdb_pc_prefix /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" logdb_pc_prefix "${logdb_pc_prefix}")
set(logdb_pc_requires)
set(packages logdb)
if(TARGET logdb_host)
   set(logdb_pc_requires "logdb_host = ${PROJECT_VERSION}")
   list(APPEND packages logdb_host)
endif()
foreach(package IN LISTS packages)
   configure_file(${PROJECT_SOURCE_DIR}/cmake/${package}.pc.in ${PROJECT_BINARY_DIR}/${package}.pc @ONLY)
   install(FILES ${PROJECT_BINARY_DIR}/${package}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()

# The documents, as they are in the tree; and the reference of the headers, if the target "doc" has made it.
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${PROJECT_SOURCE_DIR}/LICENSE
        DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs FILES_MATCHING PATTERN *.md
        PATTERN samples EXCLUDE)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples/ladder DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)
if(PROJECT_IS_TOP_LEVEL)
   include(${PROJECT_SOURCE_DIR}/cmake/LogdbDocumentation.cmake)
   install(DIRECTORY ${PROJECT_BINARY_DIR}/docs/api DESTINATION ${CMAKE_INSTALL_DOCDIR} OPTIONAL)
endif()
