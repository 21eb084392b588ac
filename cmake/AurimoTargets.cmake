# Helpers shared by every module's CMakeLists.txt.
#
#   aurimo_library(NAME aurimo_cache ALIAS aurimo::cache SOURCES ... DEPS ...)
#   aurimo_test(NAME cache_tests SOURCES ... DEPS ... [LABELS concurrency])
#   aurimo_benchmark(NAME cache_bench SOURCES ... DEPS ...)

function(aurimo_defaults target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic)
endfunction()

function(aurimo_library)
  cmake_parse_arguments(ARG "" "NAME;ALIAS" "SOURCES;DEPS;PRIVATE_DEPS" ${ARGN})
  add_library(${ARG_NAME} STATIC ${ARG_SOURCES})
  add_library(${ARG_ALIAS} ALIAS ${ARG_NAME})
  target_include_directories(${ARG_NAME} PUBLIC
    $<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}/include>)
  target_link_libraries(${ARG_NAME} PUBLIC ${ARG_DEPS} PRIVATE ${ARG_PRIVATE_DEPS})
  aurimo_defaults(${ARG_NAME})
endfunction()

function(aurimo_test)
  if(NOT AURIMO_BUILD_TESTS)
    return()
  endif()
  cmake_parse_arguments(ARG "" "NAME" "SOURCES;DEPS;LABELS" ${ARGN})
  add_executable(${ARG_NAME} ${ARG_SOURCES})
  target_link_libraries(${ARG_NAME} PRIVATE ${ARG_DEPS} GTest::gmock GTest::gtest_main)
  aurimo_defaults(${ARG_NAME})
  # A hang fails the test in two minutes instead of stalling CI.
  gtest_discover_tests(${ARG_NAME}
    DISCOVERY_TIMEOUT 60
    PROPERTIES LABELS "${ARG_LABELS}" TIMEOUT 120)
endfunction()

function(aurimo_benchmark)
  if(NOT AURIMO_BUILD_BENCH)
    return()
  endif()
  cmake_parse_arguments(ARG "" "NAME" "SOURCES;DEPS" ${ARGN})
  add_executable(${ARG_NAME} ${ARG_SOURCES})
  target_link_libraries(${ARG_NAME} PRIVATE ${ARG_DEPS} benchmark::benchmark)
  aurimo_defaults(${ARG_NAME})
endfunction()

# Builds the tests in the calling module's tests/ folder: <PREFIX>_tests from
# *_test.cc, and <PREFIX>_concurrency_tests (labelled concurrency, run under
# TSan in CI) from *_concurrency_test.cc.
#   aurimo_folder_tests(PREFIX cache DEPS aurimo::cache aurimo::testing)
function(aurimo_folder_tests)
  cmake_parse_arguments(ARG "" "PREFIX" "DEPS" ${ARGN})
  file(GLOB _tests CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/tests/*_test.cc)
  list(FILTER _tests EXCLUDE REGEX "_concurrency_test\\.cc$")
  file(GLOB _concurrency_tests CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/tests/*_concurrency_test.cc)
  if(_tests)
    aurimo_test(NAME ${ARG_PREFIX}_tests SOURCES ${_tests} DEPS ${ARG_DEPS})
  endif()
  if(_concurrency_tests)
    aurimo_test(NAME ${ARG_PREFIX}_concurrency_tests SOURCES ${_concurrency_tests}
      DEPS ${ARG_DEPS} LABELS concurrency)
  endif()
endfunction()
