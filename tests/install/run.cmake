# SPDX-License-Identifier: Apache-2.0
# Installs the build, builds a rule module from the installed package alone, puts it into the application folder and runs it.
# Needs: BUILD_DIR, SOURCE_DIR (this folder), EXAMPLE_DIR, WORK_DIR, APP_DIR (the application folder below the prefix), MODEL,
# COMPILER, PYTHON

function(step what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${what} failed with ${status}:\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

set(prefix "${WORK_DIR}/prefix with blanks")
file(REMOVE_RECURSE ${WORK_DIR})
step("Installing" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
step("Configuring the rule" ${CMAKE_COMMAND} -S ${SOURCE_DIR}/rule -B ${WORK_DIR}/rule -G Ninja
  -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_PREFIX_PATH=${prefix})
step("Building the rule" ${CMAKE_COMMAND} --build ${WORK_DIR}/rule)
file(COPY ${WORK_DIR}/rule/TouchEverything.Arx DESTINATION ${prefix}/${APP_DIR}/Norvex)

step("Looking where libraries are looked for" ${PYTHON} ${SOURCE_DIR}/library_paths.py ${prefix})

step("Listing the rules" ${prefix}/bin/norvex rules)
if(NOT output MATCHES "touch-everything" OR NOT output MATCHES "3\\.1\\.20\\.5")
  message(FATAL_ERROR "norvex rules does not name the rule and its version 3.1.20.5:\n${output}")
endif()
step("Checking with the rule"
  ${prefix}/bin/norvex check ${MODEL} --rule touch-everything --project ${WORK_DIR}/project --json ${WORK_DIR}/run.json)
file(READ ${WORK_DIR}/run.json run)
if(NOT run MATCHES "CTouchEverything" OR run MATCHES "crashed")
  message(FATAL_ERROR "The rule did not run to its end:\n${output}\n${run}")
endif()

if(NOT EXISTS "${prefix}/${APP_DIR}/NorvexResult.xsd")
  message(FATAL_ERROR "The schema of the result files is not installed.")
endif()

# The example of the rule authors' guide: a whole rule is small, is taken by the program as it lies there, and finds what its
# case holds.
set(lines 0)
foreach(file CMakeLists.txt CheckShortPipe.cpp)
  file(READ ${EXAMPLE_DIR}/${file} content)
  string(REGEX MATCHALL "\n" ends "${content}")
  list(LENGTH ends count)
  math(EXPR lines "${lines} + ${count}")
endforeach()
if(lines LESS 20 OR lines GREATER_EQUAL 60)
  message(FATAL_ERROR "The example rule has ${lines} lines; the guide promises fewer than 60.")
endif()
step("Configuring the example" ${CMAKE_COMMAND} -S ${EXAMPLE_DIR} -B ${WORK_DIR}/example -G Ninja
  -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_PREFIX_PATH=${prefix} "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Wconversion -Wshadow -Werror")
step("Building the example" ${CMAKE_COMMAND} --build ${WORK_DIR}/example)
file(COPY ${WORK_DIR}/example/CheckShortPipe.Arx DESTINATION ${prefix}/${APP_DIR}/Norvex)
step("Explaining the example" ${prefix}/bin/norvex rules short-pipe)
if(NOT output MATCHES "Pipes shorter than 30 mm" OR NOT output MATCHES "1\\.0\\.0\\.0")
  message(FATAL_ERROR "norvex rules short-pipe does not explain the rule:\n${output}")
endif()
step("Checking the case that passes" ${prefix}/bin/norvex check ${EXAMPLE_DIR}/cases/pass-long-pipes.ifc
  --rule short-pipe --fail-on remind --project ${WORK_DIR}/project)
execute_process(COMMAND ${prefix}/bin/norvex check ${EXAMPLE_DIR}/cases/fail-left-over-piece.ifc
    --rule short-pipe --fail-on remind --project ${WORK_DIR}/project
  RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(NOT status EQUAL 1 OR NOT output MATCHES "is only 20 mm long, on floor \"1F\"")
  message(FATAL_ERROR "The example did not find the piece of 20 mm (exit code ${status}):\n${output}")
endif()
