# Installs the library with a relocatable CMake package and a pkg-config file.
#
# Headers go below include/DornImage with the paths of the source tree, so that
# #include "ImageProcessing/DornImage/DornImage.h" is the same line in and out of the tree.

include(CMakePackageConfigHelpers)

set(_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/DornImage")
set(_include_dir "${CMAKE_INSTALL_INCLUDEDIR}/DornImage")

install(TARGETS DornImage EXPORT DornImageTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT dev
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT dev
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT runtime)

get_property(_headers GLOBAL PROPERTY DORN_PUBLIC_HEADERS)
foreach(_header IN LISTS _headers)
  dorn_include_path("${_header}" _path)
  get_filename_component(_folder "${_path}" DIRECTORY)
  install(FILES "${_header}" DESTINATION "${_include_dir}/${_folder}" COMPONENT dev)
endforeach()
# What scripts/make-reference describes.
list(JOIN _headers "\n" _header_lines)
file(CONFIGURE OUTPUT "${PROJECT_BINARY_DIR}/public-headers.txt" CONTENT "@_header_lines@\n" @ONLY)

install(EXPORT DornImageTargets NAMESPACE DornImage:: DESTINATION "${_package_dir}" COMPONENT dev)
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/DornImageConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/DornImageConfig.cmake" INSTALL_DESTINATION "${_package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/DornImageConfigVersion.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/DornImageConfig.cmake"
  "${PROJECT_BINARY_DIR}/DornImageConfigVersion.cmake"
  "${PROJECT_SOURCE_DIR}/cmake/FindFreeImage.cmake"
  "${PROJECT_SOURCE_DIR}/cmake/FindTurboJPEG.cmake"
  DESTINATION "${_package_dir}" COMPONENT dev)

# FreeImage brings no pkg-config file of its own, so its library is named outright.
if(BUILD_SHARED_LIBS)
  set(DORNIMAGE_PC_CFLAGS "")
  set(DORNIMAGE_PC_LIBS "-lDornImage -lfreeimage")
else()
  set(DORNIMAGE_PC_CFLAGS "-DDORNIMAGE_STATIC")
  set(DORNIMAGE_PC_LIBS "-Wl,-u,dornimage_load_time_setup -lDornImage -lfreeimage -ltiff -lturbojpeg -lstdc++ -lm -lpthread")
endif()
file(RELATIVE_PATH DORNIMAGE_PC_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file("${PROJECT_SOURCE_DIR}/cmake/dornimage.pc.in" "${PROJECT_BINARY_DIR}/dornimage.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/dornimage.pc"
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT dev)

if(TARGET dornimage)
  file(RELATIVE_PATH _library_from_tool "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
  set_target_properties(dornimage PROPERTIES INSTALL_RPATH "$ORIGIN/${_library_from_tool}")
  install(TARGETS dornimage RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tools)
  set(_described "${PROJECT_BINARY_DIR}/tools/dornimage/dornimage")
  install(FILES "${_described}.1.gz" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT tools)
  install(FILES "${_described}.bash" RENAME dornimage
    DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT tools)
  install(FILES "${_described}.zsh" RENAME _dornimage
    DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions" COMPONENT tools)
endif()
