# SPDX-License-Identifier: MIT
# How a suite becomes a program and a few CTest tests.

# hueweave_suite(<name> FOLDER <folder> | SOURCES <source>... [SHARDS n] [LIBRARIES l...]): one test program from all
# sources of a folder and of its folders, several of them compiled as one, and its tests in n processes: the CTest tests <name>.1 to
# <name>.n, or <name> where n is 1. A process for each single test would take longer to start than to run.
function(hueweave_suite name)
  cmake_parse_arguments(PARSE_ARGV 1 suite "" "FOLDER;SHARDS" "SOURCES;LIBRARIES")
  if(suite_FOLDER)
    file(GLOB_RECURSE suite_SOURCES CONFIGURE_DEPENDS ${suite_FOLDER}/*.cpp)
  endif()
  add_executable(${name} ${suite_SOURCES})
  target_link_libraries(${name} PRIVATE test_headers test_support GTest::gtest_main ${suite_LIBRARIES})
  target_compile_definitions(
    ${name} PRIVATE HUEWEAVE_LIBRARY="$<TARGET_FILE:Hueweave>" HUEWEAVE_SOURCE_DIR="${PROJECT_SOURCE_DIR}"
                    HUEWEAVE_CXX_COMPILER="${CMAKE_CXX_COMPILER}" HUEWEAVE_C_COMPILER="${CMAKE_C_COMPILER}")
  target_precompile_headers(${name} REUSE_FROM test_headers)
  set_target_properties(${name} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 12)
  add_dependencies(${name} Hueweave)

  if(NOT suite_SHARDS)
    set(suite_SHARDS 1)
  endif()
  # Counting lines makes hostile_alloc fifty times as slow; a process that is ended by CTest counts nothing.
  set(timeout 900)
  if(HUEWEAVE_COVERAGE)
    set(timeout 3600)
  endif()
  foreach(shard RANGE 1 ${suite_SHARDS})
    set(test ${name})
    if(suite_SHARDS GREATER 1)
      string(APPEND test .${shard})
    endif()
    math(EXPR index "${shard} - 1")
    add_test(NAME ${test} COMMAND ${name})
    set_tests_properties(${test} PROPERTIES TIMEOUT ${timeout}
                                            ENVIRONMENT "GTEST_TOTAL_SHARDS=${suite_SHARDS};GTEST_SHARD_INDEX=${index}")
  endforeach()
endfunction()

# hueweave_inputs(<suite> <script>): files by other programs, in the folder <suite> of the inputs, before the suite is
# built. Each build looks whether they are still as they were made.
function(hueweave_inputs suite script)
  add_custom_target(${suite}_inputs COMMAND ${PROJECT_SOURCE_DIR}/tests/support/make-once ${script}
                                            ${HUEWEAVE_TEST_INPUTS}/${suite} COMMENT "Making the inputs of ${suite}")
  if(TARGET ${suite})
    add_dependencies(${suite} ${suite}_inputs)
  endif()
endfunction()
