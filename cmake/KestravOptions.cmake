# What every target is compiled with.
option(KESTRAV_BUILD_TESTS "Build the tests and the examples" ON)
option(KESTRAV_BUILD_BENCHMARKS "Build the benchmarks" OFF)
option(KESTRAV_BUILD_FUZZERS "Build the libFuzzer targets (clang only)" OFF)
set(KESTRAV_SANITIZE "" CACHE STRING "Sanitizers for every target, e.g. address,undefined or thread")

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
include(GNUInstallDirs)

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # False alarms of g++ 12 on std::string(n, c) + "text".
  add_compile_options(-Wno-array-bounds -Wno-restrict -Wno-stringop-overflow)
endif()
if(KESTRAV_SANITIZE)
  add_compile_options(-fsanitize=${KESTRAV_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${KESTRAV_SANITIZE})
  if(KESTRAV_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
endif()

# The same source compiled for several build folders is one entry of the compiler cache: paths are
# taken relative to the tree, and a precompiled header's time stamp does not count.
find_program(KESTRAV_CCACHE ccache)
if(KESTRAV_CCACHE)
  set(_ccache ${CMAKE_COMMAND} -E env
    CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1
    CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
    ${KESTRAV_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${_ccache})
  set(CMAKE_C_COMPILER_LAUNCHER ${_ccache})
endif()

find_program(KESTRAV_LLD ld.lld)
if(KESTRAV_LLD AND NOT KESTRAV_SANITIZE)
  add_link_options(-fuse-ld=lld)
endif()
