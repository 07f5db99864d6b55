# SPDX-License-Identifier: Apache-2.0

# norvex_add_version_record(TARGET a.b.c.d)
#
# Gives an ELF module the file version that the module inventory reports. The record is a version resource as Windows modules
# carry it, in a note that the linker keeps and `strip` leaves alone; platform/kernel/FileVersion.h reads both. It is written in
# assembly because sanitizers pad variables, and a note must not be padded.
function(norvex_add_version_record target version)
  if(NOT version MATCHES "^([0-9]+)\\.([0-9]+)\\.([0-9]+)\\.([0-9]+)$")
    message(FATAL_ERROR "${target}: the version '${version}' is not of the form 1.2.3.4.")
  endif()
  set(major ${CMAKE_MATCH_1})
  set(minor ${CMAKE_MATCH_2})
  set(build ${CMAKE_MATCH_3})
  set(revision ${CMAKE_MATCH_4})
  foreach(number ${major} ${minor} ${build} ${revision})
    if(number GREATER 65535)
      message(FATAL_ERROR "${target}: ${number} in the version '${version}' does not fit into 16 bits.")
    endif()
  endforeach()
  set(source ${CMAKE_CURRENT_BINARY_DIR}/${target}_version.cpp)
  file(CONFIGURE OUTPUT ${source} @ONLY CONTENT [[
// Version record of @target@, @version@.
asm(R"(
    .pushsection .note.norvex.version, "a", %note
    .balign 4
    .4byte 7, 2f - 1f, 1
    .ascii "Norvex\0\0"
1:  .2byte 2f - 1b, 52, 0
    .2byte 'V', 'S', '_', 'V', 'E', 'R', 'S', 'I', 'O', 'N', '_', 'I', 'N', 'F', 'O', 0, 0
    .4byte 0xFEEF04BD, 0x10000
    .2byte @minor@, @major@, @revision@, @build@
    .2byte @minor@, @major@, @revision@, @build@
    .4byte 0x3F, 0, 0x40004, 2, 0, 0, 0
2:
    .popsection
)");
]])
  target_sources(${target} PRIVATE ${source})
endfunction()
