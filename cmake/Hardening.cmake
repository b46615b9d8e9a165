# SPDX-License-Identifier: MIT
# hueweave_hardening: what keeps a mistake in memory from becoming an attack, for what is shipped. Releases alone have
# it; the library and the command, and the static libraries that they are made of, link it.
#
# A distribution that builds with flags of its own configures with CMAKE_BUILD_TYPE=None, to which nothing is added, or
# with -DHUEWEAVE_HARDEN=OFF. Sanitizers bring what replaces these means, and nothing instrumented is shipped.
add_library(hueweave_hardening INTERFACE)
if(NOT HUEWEAVE_HARDEN OR HUEWEAVE_SANITIZE OR HUEWEAVE_SANITIZE_THREAD OR HUEWEAVE_FUZZ OR HUEWEAVE_COVERAGE)
  return()
endif()
include(CheckCXXCompilerFlag)
include(CheckPIESupported)

set(release $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
# The last one exists on x86-64 alone, the one before not in every compiler for every processor.
foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection)
  string(MAKE_C_IDENTIFIER "HUEWEAVE_HAS${flag}" known)
  check_cxx_compiler_flag("-Werror ${flag}" ${known})
  if(${known})
    target_compile_options(hueweave_hardening INTERFACE $<${release}:${flag}>)
  endif()
endforeach()
# It needs optimisation, which these configurations have. Flags of the user that ask for a level keep it.
if(NOT "${CMAKE_C_FLAGS} ${CMAKE_CXX_FLAGS}" MATCHES "_FORTIFY_SOURCE")
  target_compile_options(hueweave_hardening INTERFACE "$<${release}:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
endif()
target_link_options(hueweave_hardening INTERFACE "$<${release}:LINKER:-z,relro,-z,now>")

# Lets targets be linked as programs that stand at another address in each run (POSITION_INDEPENDENT_CODE).
check_pie_supported(LANGUAGES CXX)
