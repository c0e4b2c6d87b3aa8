# veridane_module(NAME SOURCES... [LINKS ...])
#
# Makes the static library bx_NAME from the sources of the current folder. Its headers are seen by those who link it and
# by nobody else, so an include against the order of the modules does not compile.
function(veridane_module name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS")
  add_library(bx_${name} STATIC ${arg_SOURCES})
  target_include_directories(bx_${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries(bx_${name} PUBLIC ${arg_LINKS})
endfunction()

# veridane_test(NAME SOURCES... LINKS ...)
#
# Makes the test program test_NAME; each of its cases is a test of its own for ctest.
function(veridane_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS")
  add_executable(test_${name} ${arg_SOURCES})
  target_link_libraries(test_${name} PRIVATE ${arg_LINKS} GTest::gmock GTest::gtest_main)
  target_include_directories(test_${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support)
  target_compile_definitions(test_${name} PRIVATE
    VERIDANE_SAMPLES="${PROJECT_SOURCE_DIR}/data/samples" VERIDANE_BIN="${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")
  gtest_discover_tests(test_${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120 PROPERTIES TIMEOUT ${VERIDANE_TEST_SECONDS})
endfunction()
