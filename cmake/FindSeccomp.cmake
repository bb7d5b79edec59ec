# Finds libseccomp: Seccomp_FOUND and the target Seccomp::Seccomp.

find_path(Seccomp_INCLUDE_DIR seccomp.h)
find_library(Seccomp_LIBRARY NAMES seccomp)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Seccomp REQUIRED_VARS Seccomp_LIBRARY Seccomp_INCLUDE_DIR)
mark_as_advanced(Seccomp_INCLUDE_DIR Seccomp_LIBRARY)

if(Seccomp_FOUND AND NOT TARGET Seccomp::Seccomp)
  add_library(Seccomp::Seccomp UNKNOWN IMPORTED)
  set_target_properties(Seccomp::Seccomp PROPERTIES
    IMPORTED_LOCATION "${Seccomp_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${Seccomp_INCLUDE_DIR}")
endif()
