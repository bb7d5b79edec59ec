# Debian packages from the install rules: libdornimage0 (runtime), libdornimage-dev (dev) and dornimage (tools).
# `cpack --config BUILD/CPackConfig.cmake` makes them; scripts/check-packages makes and tries them.

if(NOT BUILD_SHARED_LIBS)
  install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT dev)
  return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME dornimage)
set(CPACK_PACKAGE_VENDOR "DornImage")
set(CPACK_PACKAGE_CONTACT "DornImage developers <developers@dornimage.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_COMPONENTS_ALL runtime dev tools)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/ImageProcessing/DornImage")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
# Each release may add to the interface before 1.0: programs ask for the version that they were built with.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(_full_version "${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME "libdornimage${PROJECT_VERSION_MAJOR}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/cmake/triggers")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "${PROJECT_DESCRIPTION}: the library
 Loads, scales, rotates, smooths and judges pages and photographs, on top of
 the FreeImage codec library and with vectorised pixel primitives.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libdornimage-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
  "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (= ${_full_version}), libfreeimage-dev")
set(CPACK_COMPONENT_DEV_DESCRIPTION "${PROJECT_DESCRIPTION}: headers
 Headers, CMake package and pkg-config file for programs that use the library.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME dornimage)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (= ${_full_version})")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "${PROJECT_DESCRIPTION}: command-line tool
 Tells what is in picture files of pages and photographs, converts and mends
 them, with man page and completion for bash and zsh.")

configure_file("${PROJECT_SOURCE_DIR}/cmake/changelog.Debian.in" "${PROJECT_BINARY_DIR}/changelog.Debian" @ONLY)
dorn_gzip("${PROJECT_BINARY_DIR}/changelog.Debian" "${PROJECT_BINARY_DIR}/changelog.Debian.gz")
dorn_gzip("${PROJECT_SOURCE_DIR}/CHANGELOG.md" "${PROJECT_BINARY_DIR}/changelog.gz")
set(_changelogs "${PROJECT_BINARY_DIR}/changelog.Debian.gz" "${PROJECT_BINARY_DIR}/changelog.gz")
add_custom_target(package_changelogs ALL DEPENDS ${_changelogs})

foreach(_component runtime dev tools)
  string(TOUPPER "${_component}" _key)
  set(_doc "${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${_key}_PACKAGE_NAME}")
  install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" RENAME copyright DESTINATION "${_doc}" COMPONENT ${_component})
  install(FILES ${_changelogs} DESTINATION "${_doc}" COMPONENT ${_component})
endforeach()

include(CPack)
