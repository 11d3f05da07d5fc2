# quillon_module(<folder> [DEPS ...]): one static library per source folder, named quillon_<folder>,
# built from every .cpp in that folder. Folders depend on each other only through DEPS.
function(quillon_module folder)
  cmake_parse_arguments(M "" "" "DEPS" ${ARGN})
  file(GLOB srcs CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
  # A folder's main.cpp is its program's, never the library's (a test has a main of its own).
  list(FILTER srcs EXCLUDE REGEX "/main\\.cpp$")
  if(srcs)
    add_library(quillon_${folder} STATIC ${srcs})
    target_include_directories(quillon_${folder} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(quillon_${folder} PUBLIC ${M_DEPS})
    # The standard headers every folder reads, parsed once for the whole core: every folder
    # is built with the same flags, so the first one's header serves them all.
    get_property(owner GLOBAL PROPERTY QUILLON_MODULE_PCH)
    if(owner)
      target_precompile_headers(quillon_${folder} REUSE_FROM ${owner})
    else()
      target_precompile_headers(quillon_${folder} PRIVATE <algorithm> <cstdint> <functional> <map> <memory>
        <mutex> <string> <vector>)
      set_property(GLOBAL PROPERTY QUILLON_MODULE_PCH quillon_${folder})
    endif()
  else()
    add_library(quillon_${folder} INTERFACE)
    target_include_directories(quillon_${folder} INTERFACE ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(quillon_${folder} INTERFACE ${M_DEPS})
  endif()
endfunction()

# quillon_test(<folder> [OWN_LOOPBACK] [SPLIT filter...] [DEPS ...]): one GoogleTest program per test
# folder. Each SPLIT filter (GoogleTest's, ':' between patterns) runs as a test of its own,
# <folder>.<n>, beside the rest: most tests wait on timers and threads rather than use the CPU.
function(quillon_test folder)
  cmake_parse_arguments(T "OWN_LOOPBACK" "" "DEPS;SPLIT" ${ARGN})
  file(GLOB srcs CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
  if(NOT srcs)
    return()
  endif()
  string(REPLACE "/" "_" tname ${folder})
  add_executable(test_${tname} ${srcs})
  target_link_libraries(test_${tname} PRIVATE ${T_DEPS} GTest::gtest GTest::gmock GTest::gtest_main)
  # GoogleTest's headers cost each test file seconds: parsed once for all test programs (they
  # share their flags). Tests need no optimiser (speed is measured in bench/), and without it
  # they build in half the time.
  target_compile_options(test_${tname} PRIVATE $<$<CONFIG:RelWithDebInfo,Release>:-O0 -g1>)
  get_property(owner GLOBAL PROPERTY QUILLON_TEST_PCH)
  # Qt's targets compile with -fPIC where the others use -fPIE: a header made for one is no
  # use to the other, so the Qt tests keep their own.
  if("quillon_qt" IN_LIST T_DEPS)
    target_precompile_headers(test_${tname} PRIVATE <gtest/gtest.h> <QtWidgets> <string> <vector>)
  elseif(owner)
    target_precompile_headers(test_${tname} REUSE_FROM ${owner})
  else()
    target_precompile_headers(test_${tname} PRIVATE <gtest/gtest.h> <filesystem> <fstream>
      <functional> <map> <memory> <mutex> <regex> <sstream> <string> <thread> <vector>)
    set_property(GLOBAL PROPERTY QUILLON_TEST_PCH test_${tname})
  endif()
  target_compile_definitions(test_${tname} PRIVATE
    QUILLON_FIXTURES_DIR="${CMAKE_CURRENT_SOURCE_DIR}/fixtures"
    QUILLON_RUNTIME_DIR="${QUILLON_RUNTIME_DIR}"
    QUILLON_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
  if(QUILLON_FIXTURE_LIB_DIR)
    target_compile_definitions(test_${tname} PRIVATE QUILLON_FIXTURE_LIB_DIR="${QUILLON_FIXTURE_LIB_DIR}")
  endif()
  if(TARGET quillon_fixtures)
    add_dependencies(test_${tname} quillon_fixtures)
  endif()
  set_target_properties(test_${tname} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  set(names ${tname})
  set(filters "")
  set(rest "")
  set(n 1)
  foreach(filter ${T_SPLIT})
    list(APPEND names ${tname}.${n})
    list(APPEND filters --gtest_filter=${filter})
    string(APPEND rest ":${filter}")
    math(EXPR n "${n} + 1")
  endforeach()
  if(rest)
    string(SUBSTRING "${rest}" 1 -1 rest)
    list(PREPEND filters --gtest_filter=-${rest})
  else()
    set(filters --gtest_filter=*)
  endif()
  foreach(name filter IN ZIP_LISTS names filters)
    if(T_OWN_LOOPBACK)
      quillon_add_network_test(${name} $<TARGET_FILE:test_${tname}> ${filter})
    else()
      add_test(NAME ${name} COMMAND test_${tname} ${filter})
    endif()
    set_tests_properties(${name} PROPERTIES ENVIRONMENT "QT_QPA_PLATFORM=offscreen" TIMEOUT 600)
  endforeach()
endfunction()

# quillon_add_network_test(<name> <command...>): a test whose simulator starts DoIP entities. It runs
# on a loopback network of its own where the machine allows it, beside the others; elsewhere
# such tests take turns.
function(quillon_add_network_test name)
  set(wrapper ${PROJECT_SOURCE_DIR}/tests/support/own-loopback.sh)
  if(NOT DEFINED CACHE{QUILLON_OWN_LOOPBACK})
    execute_process(COMMAND ${wrapper} true RESULT_VARIABLE rc OUTPUT_QUIET ERROR_QUIET)
    if(rc EQUAL 0)
      set(works ON)
    else()
      set(works OFF)
      message(STATUS "No network namespaces here: the DoIP tests take turns")
    endif()
    set(QUILLON_OWN_LOOPBACK ${works} CACHE BOOL "Tests with DoIP entities run on loopback networks of their own")
  endif()
  if(QUILLON_OWN_LOOPBACK)
    add_test(NAME ${name} COMMAND ${wrapper} ${ARGN})
  else()
    add_test(NAME ${name} COMMAND ${ARGN})
    set_tests_properties(${name} PROPERTIES RESOURCE_LOCK doip_broadcast)
  endif()
endfunction()
