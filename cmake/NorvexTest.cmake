# SPDX-License-Identifier: Apache-2.0
include(GoogleTest)

# Real models and truth tables lie beside the checkout, not in it; tests that need them skip with a message without them.
set(NORVEX_SHARED "${PROJECT_SOURCE_DIR}/../shared" CACHE PATH "Folder with real models and truth tables")

# Builds what the thread sanitizer runs, and no more.
add_custom_target(thread-tests)

# norvex_add_test(NAME SOURCES... LIBS... [LABEL name] [TIMEOUT seconds] [FIRST filter])
#
# One executable; every test in it becomes a ctest test of its own process, because the run state belongs to the process.
# What the filter of GoogleTest names begins before all other tests, so that nothing waits for it at the end.
# Labels that mean something to test.sh: "threads" runs under TSan as well, "long" only when asked for.
function(norvex_add_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "LABEL;TIMEOUT;FIRST" "SOURCES;LIBS;LABELS")
  if(arg_LABELS)
    message(FATAL_ERROR "norvex_add_test(${name}): a test takes one LABEL, not LABELS.")
  endif()
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBS} Norvex::TestSupport)
  set_target_properties(${name} PROPERTIES BUILD_RPATH "${NORVEX_APP_DIR}")
  set(properties ENVIRONMENT "NORVEX_SHARED=${NORVEX_SHARED}" TIMEOUT ${arg_TIMEOUT} SKIP_REGULAR_EXPRESSION "SKIPPED ")
  # gtest_discover_tests takes its properties as one flat list: an empty value, or a second one, would shift all the others.
  if(arg_LABEL)
    list(APPEND properties LABELS ${arg_LABEL})
  endif()
  if(arg_LABEL STREQUAL "threads")
    add_dependencies(thread-tests ${name})
  endif()
  set(rest "")
  if(arg_FIRST)
    # Any cost does: that of the others is 0, or the seconds that they took before, and none takes as long.
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
      TEST_FILTER "${arg_FIRST}" TEST_LIST ${name}_first PROPERTIES ${properties} COST 1000)
    set(rest TEST_FILTER "-${arg_FIRST}")
  endif()
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 ${rest} PROPERTIES ${properties})
endfunction()
