# SPDX-License-Identifier: Apache-2.0
include(GoogleTest)

# Real models and truth tables lie beside the checkout, not in it; tests that need them skip with a message without them.
set(NORVEX_SHARED "${PROJECT_SOURCE_DIR}/../shared" CACHE PATH "Folder with real models and truth tables")

# norvex_add_test(NAME SOURCES... LIBS... [LABELS...] [TIMEOUT seconds])
#
# One executable; every test in it becomes a ctest test of its own process, because the run state belongs to the process.
function(norvex_add_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "TIMEOUT" "SOURCES;LIBS;LABELS")
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBS} Norvex::TestSupport)
  set_target_properties(${name} PROPERTIES BUILD_RPATH "${NORVEX_APP_DIR}")
  gtest_discover_tests(${name}
    DISCOVERY_MODE PRE_TEST
    DISCOVERY_TIMEOUT 60
    PROPERTIES
      ENVIRONMENT "NORVEX_SHARED=${NORVEX_SHARED}"
      TIMEOUT ${arg_TIMEOUT} LABELS "${arg_LABELS}"
      SKIP_REGULAR_EXPRESSION "SKIPPED ")
endfunction()
