# SPDX-License-Identifier: Apache-2.0
include(${CMAKE_CURRENT_LIST_DIR}/NorvexRuleVersion.cmake)

# norvex_add_rule(NAME SOURCES... [LIBS...] [VERSION a.b.c.d])
#
# Builds NAME.Arx, a rule module that the check service finds in the application folder's Norvex/ folder. VERSION is the file
# version that the module inventory reports; it defaults to the calling project's version, filled up with zeros.
# Works in this project and, after find_package(NorvexData), in any other.
function(norvex_add_rule name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "VERSION" "SOURCES;LIBS")
  if(NOT arg_SOURCES)
    message(FATAL_ERROR "norvex_add_rule(${name}): SOURCES names no source file.")
  endif()
  set(version "${arg_VERSION}")
  if(version STREQUAL "")
    set(version "${PROJECT_VERSION}")
  endif()
  if(version STREQUAL "")
    set(version 0)
  endif()
  while(NOT version MATCHES "^[0-9]+\\.[0-9]+\\.[0-9]+\\.[0-9]+$")
    if(NOT version MATCHES "^[0-9]+(\\.[0-9]+)?(\\.[0-9]+)?$")
      message(FATAL_ERROR "norvex_add_rule(${name}): VERSION '${version}' is not of the form 1.2.3.4.")
    endif()
    string(APPEND version ".0")
  endwhile()

  add_library(${name} MODULE ${arg_SOURCES})
  norvex_add_version_record(${name} ${version})
  target_link_libraries(${name} PRIVATE Norvex::NorvexData Norvex::RuleApi ${arg_LIBS})
  target_compile_definitions(${name} PRIVATE NORVEX_RULE_VERSION="${version}")
  # The two modules that a rule stands on are in the process before any rule is loaded; the loader takes those.
  set_target_properties(${name} PROPERTIES
    PREFIX "" SUFFIX ".Arx"
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON
    BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "$ORIGIN/..")
endfunction()
