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
    # The standard headers every folder reads, parsed once a folder rather than once a file.
    target_precompile_headers(quillon_${folder} PRIVATE <algorithm> <cstdint> <functional> <map> <memory>
      <mutex> <string> <vector>)
  else()
    add_library(quillon_${folder} INTERFACE)
    target_include_directories(quillon_${folder} INTERFACE ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(quillon_${folder} INTERFACE ${M_DEPS})
  endif()
endfunction()

# quillon_test(<folder> [DEPS ...] [SOURCES_DIR dir]): one GoogleTest program per test folder.
function(quillon_test folder)
  cmake_parse_arguments(T "" "" "DEPS" ${ARGN})
  file(GLOB srcs CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
  if(NOT srcs)
    return()
  endif()
  string(REPLACE "/" "_" tname ${folder})
  add_executable(test_${tname} ${srcs})
  target_link_libraries(test_${tname} PRIVATE ${T_DEPS} GTest::gtest GTest::gmock GTest::gtest_main)
  # GoogleTest's headers cost each test file seconds: parsed once a program. Tests need no
  # optimiser (speed is measured in bench/), and without it they build in half the time.
  target_precompile_headers(test_${tname} PRIVATE <gtest/gtest.h> <filesystem> <fstream> <functional> <map>
    <memory> <mutex> <regex> <sstream> <string> <thread> <vector>)
  target_compile_options(test_${tname} PRIVATE $<$<CONFIG:RelWithDebInfo,Release>:-O0 -g1>)
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
  add_test(NAME ${tname} COMMAND test_${tname})
  set_tests_properties(${tname} PROPERTIES ENVIRONMENT "QT_QPA_PLATFORM=offscreen" TIMEOUT 600)
endfunction()
