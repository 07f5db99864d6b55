# SPDX-License-Identifier: Apache-2.0
# Makes one C++ file from web/: the scripts in their order in one function, the style sheet, both named in the page's
# content security policy by their digest, and the place where the data goes.
# Usage: cmake -DWEB=folder -DSCRIPTS=list -DOUTPUT=file -P EmbedPage.cmake

# The digest of a text as a content security policy wants it: SHA-256 in base64.
function(csp_digest text out)
  set(alphabet ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/)
  string(SHA256 hex "${text}")
  # 32 bytes and one zero byte are eleven groups of three bytes; the last digit is padding.
  string(APPEND hex 00)
  set(digits "")
  foreach(group RANGE 0 60 6)
    string(SUBSTRING ${hex} ${group} 6 part)
    foreach(shift 18 12 6 0)
      math(EXPR digit "(0x${part} >> ${shift}) & 63")
      string(SUBSTRING ${alphabet} ${digit} 1 character)
      string(APPEND digits ${character})
    endforeach()
  endforeach()
  string(REGEX REPLACE ".$" "=" digits ${digits})
  set(${out} "sha256-${digits}" PARENT_SCOPE)
endfunction()

# The bytes of a text as the elements of a C++ array.
function(as_bytes text out)
  file(WRITE ${OUTPUT}.part "${text}")
  file(READ ${OUTPUT}.part hex HEX)
  file(REMOVE ${OUTPUT}.part)
  string(REGEX REPLACE "(..)" "0x\\1," bytes "${hex}")
  string(REGEX REPLACE "(....................................................................................................)" "\\1\n" bytes "${bytes}")
  set(${out} "${bytes}" PARENT_SCOPE)
endfunction()

# file(READ) keeps semicolons and brackets whole as long as every use is quoted.
set(script "(() => {\n\"use strict\";\n")
foreach(file ${SCRIPTS})
  file(READ ${file} text)
  # Whole-line comments and indentation stay behind: every report carries the script. No string of it spans lines.
  string(REGEX REPLACE "(^|\n)[ ]*//[^\n]*" "\\1" text "${text}")
  string(REGEX REPLACE "\n[ \n]+" "\n" text "${text}")
  string(APPEND script "${text}")
endforeach()
string(APPEND script "})();\n")
file(READ ${WEB}/page.css style)
string(REGEX REPLACE "\n[ \n]+" "\n" style "${style}")
file(READ ${WEB}/index.html page)

foreach(text IN ITEMS "${script}" "${style}")
  if(text MATCHES "</|<!--")
    message(FATAL_ERROR "The page's script and style must not hold an end tag or a comment of HTML: ${CMAKE_MATCH_0}")
  endif()
endforeach()

csp_digest("${script}" script_digest)
csp_digest("${style}" style_digest)
string(REPLACE "@SCRIPT_DIGEST@" "${script_digest}" page "${page}")
string(REPLACE "@STYLE_DIGEST@" "${style_digest}" page "${page}")
string(REPLACE "@STYLE@" "${style}" page "${page}")
string(REPLACE "@SCRIPT@" "${script}" page "${page}")
string(FIND "${page}" "@DATA@" split)
string(SUBSTRING "${page}" 0 ${split} before)
math(EXPR split "${split} + 6")
string(SUBSTRING "${page}" ${split} -1 after)
as_bytes("${before}" before)
as_bytes("${after}" after)

file(WRITE ${OUTPUT} "// SPDX-License-Identifier: Apache-2.0
#include \"report/page/PageShell.h\"

namespace norvex::report::page {

namespace {

constexpr unsigned char kBefore[] = {
${before}};
constexpr unsigned char kAfter[] = {
${after}};

}  // namespace

std::string_view ShellBeforeData() { return {reinterpret_cast<const char*>(kBefore), sizeof kBefore}; }
std::string_view ShellAfterData() { return {reinterpret_cast<const char*>(kAfter), sizeof kAfter}; }

}  // namespace norvex::report::page
")
