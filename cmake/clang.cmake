# SPDX-License-Identifier: MIT
# The toolchain of the clang presets: the version listed in packages.txt, which scripts/install-packages installs.
file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/packages.txt clang_package REGEX "^[a-z]+ +clang-[0-9]+ ")
if(NOT clang_package MATCHES "^[a-z]+ +clang-([0-9]+) [^;]*$")
  message(FATAL_ERROR "cmake/packages.txt must list one package clang-VERSION; fix it there")
endif()
set(CMAKE_C_COMPILER clang-${CMAKE_MATCH_1})
set(CMAKE_CXX_COMPILER clang++-${CMAKE_MATCH_1})
unset(clang_package)
