# Finds the FreeImage codec library: FreeImage_FOUND, FreeImage_VERSION and the target FreeImage::FreeImage.

find_path(FreeImage_INCLUDE_DIR FreeImage.h)
find_library(FreeImage_LIBRARY NAMES freeimage FreeImage)

if(FreeImage_INCLUDE_DIR)
  file(STRINGS "${FreeImage_INCLUDE_DIR}/FreeImage.h" _lines
    REGEX "^#define FREEIMAGE_(MAJOR_VERSION|MINOR_VERSION|RELEASE_SERIAL)[ \t]+[0-9]+")
  list(TRANSFORM _lines REPLACE "^.*[ \t]([0-9]+).*$" "\\1")
  list(JOIN _lines "." FreeImage_VERSION)
  unset(_lines)
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(FreeImage
  REQUIRED_VARS FreeImage_LIBRARY FreeImage_INCLUDE_DIR
  VERSION_VAR FreeImage_VERSION)
mark_as_advanced(FreeImage_INCLUDE_DIR FreeImage_LIBRARY)

if(FreeImage_FOUND AND NOT TARGET FreeImage::FreeImage)
  add_library(FreeImage::FreeImage UNKNOWN IMPORTED)
  set_target_properties(FreeImage::FreeImage PROPERTIES
    IMPORTED_LOCATION "${FreeImage_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${FreeImage_INCLUDE_DIR}")
endif()
