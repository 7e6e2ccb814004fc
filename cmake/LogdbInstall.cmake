# cmake --install: libraries, headers, the package for find_package(logdb CONFIG) and the two for pkg-config. All
# paths in it are relative, so a prefix may be moved.

include(CMakePackageConfigHelpers)

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
