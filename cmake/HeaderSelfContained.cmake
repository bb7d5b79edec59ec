# Compiles each public header alone, as a user's C++17 source with strict warnings would see it.

# Makes the object library `header_checks` from every header in the global property DORN_PUBLIC_HEADERS. To be
# called when all rooms have named theirs.
function(dorn_check_public_headers)
  get_property(headers GLOBAL PROPERTY DORN_PUBLIC_HEADERS)
  set(sources)
  foreach(header IN LISTS headers)
    dorn_include_path("${header}" include_path)
    string(MAKE_C_IDENTIFIER "${include_path}" source_name)
    set(source "${PROJECT_BINARY_DIR}/header_checks/${source_name}.cpp")
    # The second time shows a missing guard.
    file(CONFIGURE OUTPUT "${source}" CONTENT "#include \"${include_path}\"\n#include \"${include_path}\"\n")
    list(APPEND sources "${source}")
  endforeach()
  if(NOT sources)
    return()
  endif()
  add_library(header_checks OBJECT ${sources})
  set_target_properties(header_checks PROPERTIES CXX_STANDARD 17)
  target_include_directories(header_checks PRIVATE "${PROJECT_SOURCE_DIR}" "${PROJECT_BINARY_DIR}/generated")
  target_compile_options(header_checks PRIVATE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wundef -Wnon-virtual-dtor -Werror)
endfunction()
