# SPDX-License-Identifier: Apache-2.0
# Installs the build, builds a rule module from the installed package alone, puts it into the application folder and runs it.
# Needs: BUILD_DIR, SOURCE_DIR (this folder), WORK_DIR, APP_DIR (the application folder below the prefix), MODEL, COMPILER

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
