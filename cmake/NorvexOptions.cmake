# SPDX-License-Identifier: Apache-2.0
# Compiler settings that every target of the project shares.

option(NORVEX_WERROR "Treat warnings as errors" ON)
set(NORVEX_SANITIZE "" CACHE STRING "Sanitizers to build with: empty, address or thread")

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_VERIFY_INTERFACE_HEADER_SETS ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

# The application folder of the build tree: what an installation looks like, ready to run in place.
set(NORVEX_APP_DIR ${PROJECT_BINARY_DIR}/app)
# The application folder of an installation, below the prefix.
set(NORVEX_INSTALL_APP_DIR ${CMAKE_INSTALL_LIBDIR}/norvex)

# Contraction would let two compilers round the same geometry differently.
add_compile_options(-ffp-contract=off -Wall -Wextra -Wconversion -Wshadow)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # g++ 12 takes its own std::string for an overlapping copy when it optimises (GCC bug 105651).
  add_compile_options(-Wno-restrict)
endif()
if(NORVEX_WERROR)
  add_compile_options(-Werror)
endif()
add_link_options(-Wl,--no-undefined)

if(NORVEX_SANITIZE STREQUAL "address")
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
elseif(NORVEX_SANITIZE STREQUAL "thread")
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
elseif(NOT NORVEX_SANITIZE STREQUAL "")
  message(FATAL_ERROR "NORVEX_SANITIZE is '${NORVEX_SANITIZE}'; it must be empty, address or thread.")
endif()
if(NOT NORVEX_SANITIZE STREQUAL "" AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  # Clang links its sanitizer runtime into executables only, so shared libraries keep undefined symbols.
  get_property(link_options DIRECTORY PROPERTY LINK_OPTIONS)
  list(REMOVE_ITEM link_options -Wl,--no-undefined)
  set_property(DIRECTORY PROPERTY LINK_OPTIONS "${link_options}")
endif()
