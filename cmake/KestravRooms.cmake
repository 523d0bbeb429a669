# A room is one folder of the house, compiled once into an object library and offered twice: as a
# static library that tests, benchmarks and fuzzers link (so that internals can be tested without
# exporting them), and as part of one of the two shared libraries.
#
#   kestrav_room(regex SOURCES StringPattern.cc ... ROOMS common LIBS PkgConfig::PCRE2)
#
# makes  kestrav_regex_objects  (OBJECT)  and  kestrav_regex  (STATIC).
# ROOMS are other rooms it uses; LIBS are outside libraries that stay private to its sources.
function(kestrav_room name)
  cmake_parse_arguments(ARG "" "LIBRARY" "SOURCES;ROOMS;LIBS" ${ARGN})
  if(NOT ARG_LIBRARY)
    set(ARG_LIBRARY platform)
  endif()
  add_library(kestrav_${name}_objects OBJECT ${ARG_SOURCES})
  target_include_directories(kestrav_${name}_objects PUBLIC
    ${PROJECT_SOURCE_DIR}/include2 ${PROJECT_SOURCE_DIR})
  target_link_libraries(kestrav_${name}_objects PRIVATE ${ARG_LIBS})

  add_library(kestrav_${name} STATIC $<TARGET_OBJECTS:kestrav_${name}_objects>)
  target_include_directories(kestrav_${name} PUBLIC
    ${PROJECT_SOURCE_DIR}/include2 ${PROJECT_SOURCE_DIR})
  set_target_properties(kestrav_${name} PROPERTIES LINKER_LANGUAGE CXX)
  # Linked with, not compiled with: outside headers end at the room's sources.
  target_link_libraries(kestrav_${name} PRIVATE ${ARG_LIBS})
  foreach(room IN LISTS ARG_ROOMS)
    target_link_libraries(kestrav_${name} PUBLIC kestrav_${room})
  endforeach()

  set_property(GLOBAL APPEND PROPERTY KESTRAV_${ARG_LIBRARY}_ROOMS kestrav_${name}_objects)
  set_property(GLOBAL APPEND PROPERTY KESTRAV_${ARG_LIBRARY}_LIBS ${ARG_LIBS})
endfunction()

# A test executable of one room, run by ctest as one test.
#
#   kestrav_test(regex SOURCES StringPatternTest.cc ROOMS regex [LIBS ...] [LABELS concurrency])
#
# LABELS concurrency: also run under the thread sanitizer.
function(kestrav_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;ROOMS;LIBS;LABELS" ${ARGN})
  add_executable(${name}_tests ${ARG_SOURCES})
  foreach(room IN LISTS ARG_ROOMS)
    target_link_libraries(${name}_tests PRIVATE kestrav_${room})
  endforeach()
  target_link_libraries(${name}_tests PRIVATE ${ARG_LIBS} GTest::gmock GTest::gtest_main Threads::Threads)
  target_include_directories(${name}_tests PRIVATE ${PROJECT_SOURCE_DIR})
  # A test that compiles with outside libraries has other flags than the shared header was made with.
  if(TARGET kestrav_test_pch AND NOT ARG_LIBS)
    target_precompile_headers(${name}_tests REUSE_FROM kestrav_test_pch)
  endif()
  add_test(NAME ${name} COMMAND ${name}_tests)
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 300)
  endif()
  set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT} LABELS "${ARG_LABELS}")
  if("concurrency" IN_LIST ARG_LABELS)
    set_property(GLOBAL APPEND PROPERTY KESTRAV_CONCURRENCY_TESTS ${name}_tests)
  endif()
endfunction()

# A library of hooks on functions of the rooms: what links it calls the functions through the hooks.
# SOURCE lists the functions (see tests/support/Interposed.h).
#
#   kestrav_interposer(profile_hooks SOURCE Hooks.cc)
function(kestrav_interposer name)
  cmake_parse_arguments(ARG "" "SOURCE" "" ${ARGN})
  add_library(kestrav_${name}_objects OBJECT ${ARG_SOURCE})
  target_include_directories(kestrav_${name}_objects PRIVATE
    ${PROJECT_SOURCE_DIR}/include2 ${PROJECT_SOURCE_DIR})
  set(object ${CMAKE_CURRENT_BINARY_DIR}/${name}.o)
  set(options ${CMAKE_CURRENT_BINARY_DIR}/${name}.options)
  add_custom_command(OUTPUT ${object} ${options}
    COMMAND ${CMAKE_COMMAND} -DOBJECT=$<TARGET_OBJECTS:kestrav_${name}_objects>
      -DOUTPUT=${object} -DOPTIONS=${options} -DOBJDUMP=${CMAKE_OBJDUMP} -DOBJCOPY=${CMAKE_OBJCOPY}
      -P ${PROJECT_SOURCE_DIR}/cmake/Interpose.cmake
    DEPENDS kestrav_${name}_objects $<TARGET_OBJECTS:kestrav_${name}_objects>
      ${PROJECT_SOURCE_DIR}/cmake/Interpose.cmake
    COMMENT "Interposing the functions of ${ARG_SOURCE}" VERBATIM)
  set_source_files_properties(${object} PROPERTIES EXTERNAL_OBJECT TRUE GENERATED TRUE)
  add_library(kestrav_${name} INTERFACE)
  target_sources(kestrav_${name} INTERFACE ${object})
  target_link_options(kestrav_${name} INTERFACE @${options})
endfunction()

# A libFuzzer target. Built with KESTRAV_BUILD_FUZZERS as a fuzzer, otherwise as a program that
# replays the corpus in tests/fuzz/corpus/NAME and is run by ctest.
function(kestrav_fuzzer name)
  cmake_parse_arguments(ARG "" "" "SOURCES;ROOMS;LIBS" ${ARGN})
  if(KESTRAV_BUILD_FUZZERS)
    add_executable(fuzz_${name} ${ARG_SOURCES})
    target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
  else()
    add_executable(fuzz_${name} ${ARG_SOURCES} ${PROJECT_SOURCE_DIR}/tests/fuzz/ReplayMain.cc)
    add_test(NAME fuzz_${name} COMMAND fuzz_${name} ${PROJECT_SOURCE_DIR}/tests/fuzz/corpus/${name})
  endif()
  foreach(room IN LISTS ARG_ROOMS)
    target_link_libraries(fuzz_${name} PRIVATE kestrav_${room})
  endforeach()
  target_link_libraries(fuzz_${name} PRIVATE ${ARG_LIBS} Threads::Threads)
endfunction()

# A Google Benchmark program.
function(kestrav_bench name)
  cmake_parse_arguments(ARG "" "" "SOURCES;ROOMS;LIBS" ${ARGN})
  add_executable(bench_${name} ${ARG_SOURCES})
  foreach(room IN LISTS ARG_ROOMS)
    target_link_libraries(bench_${name} PRIVATE kestrav_${room})
  endforeach()
  target_link_libraries(bench_${name} PRIVATE ${ARG_LIBS} benchmark::benchmark Threads::Threads)
  target_include_directories(bench_${name} PRIVATE ${PROJECT_SOURCE_DIR})
endfunction()

# One of the two shared libraries, from the rooms named for it.
function(kestrav_shared_library target kind)
  get_property(rooms GLOBAL PROPERTY KESTRAV_${kind}_ROOMS)
  get_property(libs GLOBAL PROPERTY KESTRAV_${kind}_LIBS)
  list(REMOVE_DUPLICATES libs)
  set(objects)
  foreach(room IN LISTS rooms)
    list(APPEND objects $<TARGET_OBJECTS:${room}>)
  endforeach()
  add_library(${target} SHARED ${objects})
  set_target_properties(${target} PROPERTIES LINKER_LANGUAGE CXX
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  target_link_libraries(${target} PRIVATE ${libs})
  if(NOT KESTRAV_SANITIZE)
    target_link_options(${target} PRIVATE -Wl,--no-undefined)
  endif()
endfunction()
