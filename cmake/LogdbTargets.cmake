# How every target of the tree is compiled.

# logdb_compile_options(TARGET): the language, the warnings, the sanitizers.
function(logdb_compile_options target)
   set_target_properties(${target} PROPERTIES CXX_STANDARD 20 CXX_STANDARD_REQUIRED ON CXX_EXTENSIONS OFF)
   if(LOGDB_STRICT)
      target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
      # This compiler warns of the standard string's own code when it is inlined.
      if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
         target_compile_options(${target} PRIVATE -Wno-restrict)
      endif()
   endif()
   if(LOGDB_SANITIZE)
      target_compile_options(${target} PRIVATE -fsanitize=${LOGDB_SANITIZE} -fno-sanitize-recover=all
                                               -fno-omit-frame-pointer)
      target_link_options(${target} PRIVATE -fsanitize=${LOGDB_SANITIZE})
   endif()
   if(LOGDB_COVERAGE)
      target_compile_options(${target} PRIVATE --coverage -fprofile-abs-path)
      target_link_options(${target} PRIVATE --coverage)
   endif()
endfunction()

# logdb_compile_quickly(TARGET): for programs whose optimising would take longer than it saves; most of all where each
# access is watched, which is what Debug builds with sanitizers are for.
function(logdb_compile_quickly target)
   target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-O1> $<$<CONFIG:Debug>:-O0>)
endfunction()

# logdb_limit_exports(TARGET LIST): the shared library exports the symbols of a reviewed list and no other, so that
# no instantiation of a standard template leaks out. A line of the list is a mangled name, blanks, "#" and the name
# as people read it.
function(logdb_limit_exports target list)
   file(STRINGS ${list} lines REGEX "^[^# ]")
   list(TRANSFORM lines REPLACE "^([^ ]+).*$" "      \\1")
   list(JOIN lines ";\n" names)
   set(script ${CMAKE_CURRENT_BINARY_DIR}/${target}.map)
   file(CONFIGURE OUTPUT ${script} CONTENT "{\n   global:\n@names@;\n   local:\n      *;\n};\n" @ONLY)
   set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list})
   set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${script})
   target_link_options(${target} PRIVATE -Wl,--version-script=${script})
endfunction()

# logdb_shared_library(TARGET): what every shared library of the tree has.
function(logdb_shared_library target)
   set_target_properties(${target} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
                                              INSTALL_RPATH "$ORIGIN")
   # With clang, the sanitizers' own symbols are found in the program only.
   if(NOT LOGDB_SANITIZE)
      target_link_options(${target} PRIVATE -Wl,-z,defs)
   endif()
endfunction()
