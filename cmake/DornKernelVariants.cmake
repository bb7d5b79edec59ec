# Kernel families of the primitives: sources that are compiled once per processor variant.

option(DORNIMAGE_PORTABLE_PRIMITIVES
  "Build the primitives as on a processor without SSE2: variant 0 alone, in portable code" OFF)
if(DORNIMAGE_PORTABLE_PRIMITIVES OR NOT CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
  set(DORN_PORTABLE_PRIMITIVES ON)
  set(DORN_VARIANTS 0)
  target_compile_definitions(dorn_build_options INTERFACE DORN_PORTABLE_PRIMITIVES)
else()
  set(DORN_PORTABLE_PRIMITIVES OFF)
  set(DORN_VARIANTS 0 1 2 3 4 5 6 7)
endif()

# What a variant may use follows the feature test that selects it. 2 serves processors without SSE4.1 too; no
# level implies POPCNT, LZCNT or F16C, which some switches bring along; 6 has no BW, DQ or VL.
set(_dorn_avx2 -mavx2 -mfma -mbmi -mbmi2 -mno-popcnt -mno-lzcnt -mno-f16c)
set(_dorn_avx512 ${_dorn_avx2} -mavx512f -mavx512cd)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # The compiler's own header reads a variable of no matter what value (fixed in GCC 13).
  list(APPEND _dorn_avx512 -Wno-uninitialized -Wno-maybe-uninitialized)
endif()
set(DORN_VARIANT_FLAGS_0 -msse2)
set(DORN_VARIANT_FLAGS_1 -msse3)
set(DORN_VARIANT_FLAGS_2 -mssse3)
set(DORN_VARIANT_FLAGS_3 -msse4.2 -mno-popcnt)
set(DORN_VARIANT_FLAGS_4 -mavx -mno-popcnt -mno-f16c)
set(DORN_VARIANT_FLAGS_5 ${_dorn_avx2})
set(DORN_VARIANT_FLAGS_6 ${_dorn_avx512})
set(DORN_VARIANT_FLAGS_7 ${_dorn_avx512} -mavx512bw -mavx512dq -mavx512vl)

# The same in every build type, so that what is tested is what is shipped. No level object may take part in
# link-time optimisation: it would lose its flags or hand its inline functions to others.
set(DORN_VARIANT_COMMON_FLAGS
  -O2 -ffp-contract=off -fno-math-errno -fno-exceptions -fno-rtti -fno-threadsafe-statics -fno-lto -Wno-psabi)

# Compiles a kernel family for every variant, into the objects of a target.
#   dorn_add_kernel_family(TARGET file.level.cpp)
# The source is compiled with -DDORN_VARIANT=0...7; what it defines for others carries that number in its name.
function(dorn_add_kernel_family target source)
  get_filename_component(path "${source}" ABSOLUTE)
  file(RELATIVE_PATH relative "${PROJECT_SOURCE_DIR}" "${path}")
  foreach(variant IN LISTS DORN_VARIANTS)
    # CMake compiles a source once per target: each variant gets a stub that includes it.
    set(stub "${PROJECT_BINARY_DIR}/level/v${variant}/${relative}")
    file(CONFIGURE OUTPUT "${stub}" CONTENT "#include \"@relative@\"\n" @ONLY)
    set(flags ${DORN_VARIANT_COMMON_FLAGS})
    if(NOT DORN_PORTABLE_PRIMITIVES)
      list(APPEND flags -march=x86-64 -mtune=generic ${DORN_VARIANT_FLAGS_${variant}})
    endif()
    target_sources(${target} PRIVATE "${stub}")
    set_source_files_properties("${stub}" TARGET_DIRECTORY ${target} PROPERTIES
      COMPILE_OPTIONS "${flags}"
      COMPILE_DEFINITIONS DORN_VARIANT=${variant}
      SKIP_PRECOMPILE_HEADERS ON
      SKIP_UNITY_BUILD_INCLUSION ON)
  endforeach()
endfunction()
