# SPDX-License-Identifier: Apache-2.0

# norvex_add_rule(NAME SOURCES... [LIBS...] [VERSION a.b.c.d])
#
# Builds NAME.Arx, a rule module that the check service finds in the application folder's Norvex/ folder. VERSION is the file
# version that the module inventory reports; it defaults to the project's version with revision 0.
function(norvex_add_rule name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "VERSION" "SOURCES;LIBS")
  add_library(${name} MODULE ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE Norvex::NorvexData Norvex::RuleApi ${arg_LIBS})
  set_target_properties(${name} PROPERTIES PREFIX "" SUFFIX ".Arx")
endfunction()
