# SPDX-License-Identifier: MIT
# hueweave_hardening: options that make memory errors harder to exploit, for release builds. The library, the command
# and their static libraries link it.
#
# A distribution that uses its own flags configures with CMAKE_BUILD_TYPE=None, to which nothing is added, or with
# -DHUEWEAVE_HARDEN=OFF. Sanitizers replace these options, and instrumented builds are not released.
add_library(hueweave_hardening INTERFACE)
if(NOT HUEWEAVE_HARDEN OR HUEWEAVE_SANITIZE OR HUEWEAVE_SANITIZE_THREAD OR HUEWEAVE_FUZZ OR HUEWEAVE_COVERAGE)
  return()
endif()
include(CheckCXXCompilerFlag)
include(CheckPIESupported)

set(release $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
# The last option exists only on x86-64, the one before not in every compiler for every processor.
foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection)
  string(MAKE_C_IDENTIFIER "HUEWEAVE_HAS${flag}" known)
  check_cxx_compiler_flag("-Werror ${flag}" ${known})
  if(${known})
    target_compile_options(hueweave_hardening INTERFACE $<${release}:${flag}>)
  endif()
endforeach()
# It requires optimisation, which these configurations enable. An optimisation level set by the user is kept.
if(NOT "${CMAKE_C_FLAGS} ${CMAKE_CXX_FLAGS}" MATCHES "_FORTIFY_SOURCE")
  target_compile_options(hueweave_hardening INTERFACE "$<${release}:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
endif()
target_link_options(hueweave_hardening INTERFACE "$<${release}:LINKER:-z,relro,-z,now>")

# Links the command as a position-independent executable (POSITION_INDEPENDENT_CODE).
if(HUEWEAVE_BUILD_TOOL)
  check_pie_supported(LANGUAGES CXX)
endif()
