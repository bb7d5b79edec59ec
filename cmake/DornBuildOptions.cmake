# Warnings, sanitizers and include paths shared by every target of the project.

add_library(dorn_build_options INTERFACE)
target_include_directories(dorn_build_options INTERFACE
  "${PROJECT_SOURCE_DIR}" "${PROJECT_BINARY_DIR}/generated")
target_compile_options(dorn_build_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wundef
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
  $<$<BOOL:${DORNIMAGE_WERROR}>:-Werror>)

if(DORNIMAGE_SANITIZE)
  target_compile_options(dorn_build_options INTERFACE
    -fsanitize=${DORNIMAGE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all
    # GCC 12 warns falsely inside its own <regex> and <functional> when the sanitizers hold back inlining.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  target_link_options(dorn_build_options INTERFACE -fsanitize=${DORNIMAGE_SANITIZE})
endif()
if(NOT BUILD_SHARED_LIBS)
  target_compile_definitions(dorn_build_options INTERFACE DORNIMAGE_STATIC)
endif()

# One room of the library, an object library.
#   dorn_add_room(NAME SOURCES file... [LINKS target...])
# Object files are collected into libDornImage, so a room has one copy of its state in a process.
function(dorn_add_room name)
  cmake_parse_arguments(ROOM "" "" "SOURCES;LINKS" ${ARGN})
  add_library(${name} OBJECT ${ROOM_SOURCES})
  target_compile_definitions(${name} PRIVATE DORNIMAGE_BUILDING)
  target_link_libraries(${name} PRIVATE dorn_build_options ${ROOM_LINKS})
endfunction()

# The path by which a public header is included, in the tree as below the installed include folder.
function(dorn_include_path header result)
  set(base "${PROJECT_SOURCE_DIR}")
  cmake_path(IS_PREFIX PROJECT_BINARY_DIR "${header}" is_generated)
  if(is_generated)
    set(base "${PROJECT_BINARY_DIR}/generated")
  endif()
  cmake_path(RELATIVE_PATH header BASE_DIRECTORY "${base}" OUTPUT_VARIABLE path)
  set(${result} "${path}" PARENT_SCOPE)
endfunction()
