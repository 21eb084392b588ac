# Helpers shared by every module's CMakeLists.txt.
#
#   aurimo_library(NAME aurimo_cache ALIAS aurimo::cache SOURCES ... DEPS ... [COMPONENT cache])
#   aurimo_install(TARGET aurimo_network_kit COMPONENT app HEADERS <dir>)
#   aurimo_test(NAME cache_tests SOURCES ... DEPS ... [LABELS concurrency])
#   aurimo_benchmark(NAME cache_bench SOURCES ... DEPS ...)

function(aurimo_defaults target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic)
endfunction()

include(GNUInstallDirs)

# Installed headers go under <prefix>/include/aurimo, so that folder names as
# short as platform/ and cache/ never meet another package's.
set(AURIMO_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/aurimo)
set(AURIMO_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/aurimo)
# The package's components, each needing the ones before it (cmake/aurimoConfig.cmake.in).
set(AURIMO_COMPONENTS cache cache_image app)

# A library with a COMPONENT is installed; without one (the test helpers) it
# stays in the build tree.
function(aurimo_library)
  cmake_parse_arguments(ARG "" "NAME;ALIAS;COMPONENT" "SOURCES;DEPS;PRIVATE_DEPS" ${ARGN})
  add_library(${ARG_NAME} STATIC ${ARG_SOURCES})
  add_library(${ARG_ALIAS} ALIAS ${ARG_NAME})
  target_include_directories(${ARG_NAME} PUBLIC
    $<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}/include>)
  target_link_libraries(${ARG_NAME} PUBLIC ${ARG_DEPS} PRIVATE ${ARG_PRIVATE_DEPS})
  aurimo_defaults(${ARG_NAME})
  if(ARG_COMPONENT)
    aurimo_install(TARGET ${ARG_NAME} COMPONENT ${ARG_COMPONENT} HEADERS ${CMAKE_CURRENT_SOURCE_DIR}/include)
  endif()
endfunction()

# Installs a library under its alias's name (aurimo_cache as aurimo::cache)
# into the component's export set, and its public headers once per folder.
# A static library's private dependencies are still link dependencies of the
# embedder: CMake exports them as $<LINK_ONLY:...>, so each must be exported
# too (a configure error names any that is not) or found by the package config.
function(aurimo_install)
  cmake_parse_arguments(ARG "" "TARGET;COMPONENT;HEADERS" "" ${ARGN})
  if(NOT ARG_COMPONENT IN_LIST AURIMO_COMPONENTS)
    message(FATAL_ERROR "${ARG_TARGET}: unknown package component '${ARG_COMPONENT}'")
  endif()
  string(REGEX REPLACE "^aurimo_" "" _export_name ${ARG_TARGET})
  set_target_properties(${ARG_TARGET} PROPERTIES EXPORT_NAME ${_export_name})
  install(TARGETS ${ARG_TARGET} EXPORT aurimo-${ARG_COMPONENT}-targets
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${ARG_COMPONENT}
    INCLUDES DESTINATION ${AURIMO_INSTALL_INCLUDEDIR})
  get_property(_installed GLOBAL PROPERTY AURIMO_INSTALLED_HEADER_DIRS)
  if(ARG_HEADERS AND NOT ARG_HEADERS IN_LIST _installed)
    set_property(GLOBAL APPEND PROPERTY AURIMO_INSTALLED_HEADER_DIRS ${ARG_HEADERS})
    install(DIRECTORY ${ARG_HEADERS}/ DESTINATION ${AURIMO_INSTALL_INCLUDEDIR} COMPONENT ${ARG_COMPONENT}
      FILES_MATCHING PATTERN "*.h")
  endif()
endfunction()

# The package itself, once every module is added: the exported targets of
# each component, the config and version files for find_package(aurimo), and
# aurimo-cache.pc for builds that use pkg-config.
function(aurimo_package)
  include(CMakePackageConfigHelpers)
  foreach(component IN LISTS AURIMO_COMPONENTS)
    install(EXPORT aurimo-${component}-targets NAMESPACE aurimo:: DESTINATION ${AURIMO_INSTALL_CMAKEDIR}
      COMPONENT ${component})
  endforeach()
  configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/aurimoConfig.cmake.in
    ${PROJECT_BINARY_DIR}/package/aurimoConfig.cmake INSTALL_DESTINATION ${AURIMO_INSTALL_CMAKEDIR})
  # Before 1.0 a minor release may break the interface, so only the same minor version matches.
  if(PROJECT_VERSION_MAJOR EQUAL 0)
    set(_compatibility SameMinorVersion)
  else()
    set(_compatibility SameMajorVersion)
  endif()
  write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/aurimoConfigVersion.cmake
    COMPATIBILITY ${_compatibility})
  install(FILES ${PROJECT_BINARY_DIR}/package/aurimoConfig.cmake ${PROJECT_BINARY_DIR}/package/aurimoConfigVersion.cmake
    DESTINATION ${AURIMO_INSTALL_CMAKEDIR} COMPONENT cache)

  # pkg-config finds the prefix from the file's own place, so the file stays
  # right when `cmake --install --prefix` picks another prefix than configure did.
  file(RELATIVE_PATH _up /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
  string(REGEX REPLACE "/$" "" _up ${_up})
  set(AURIMO_PC_PREFIX "\${pcfiledir}/${_up}")
  set(AURIMO_PC_INTL "")
  if(Intl_LIBRARIES)
    set(AURIMO_PC_INTL " -lintl")
  endif()
  configure_file(${PROJECT_SOURCE_DIR}/cmake/aurimo-cache.pc.in ${PROJECT_BINARY_DIR}/package/aurimo-cache.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/package/aurimo-cache.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT cache)
endfunction()

function(aurimo_test)
  if(NOT AURIMO_BUILD_TESTS)
    return()
  endif()
  cmake_parse_arguments(ARG "" "NAME" "SOURCES;DEPS;LABELS" ${ARGN})
  add_executable(${ARG_NAME} ${ARG_SOURCES})
  target_link_libraries(${ARG_NAME} PRIVATE ${ARG_DEPS} GTest::gmock GTest::gtest_main)
  aurimo_defaults(${ARG_NAME})
  # A hang fails the test in two minutes instead of stalling CI. An empty
  # LABELS value would swallow the next property's name, so it goes last and
  # only when there are labels.
  set(_properties TIMEOUT 120)
  if(ARG_LABELS)
    list(APPEND _properties LABELS "${ARG_LABELS}")
  endif()
  gtest_discover_tests(${ARG_NAME}
    DISCOVERY_TIMEOUT 60
    PROPERTIES ${_properties})
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
