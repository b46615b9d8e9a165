# SPDX-License-Identifier: MIT
# Little CMS as the target PkgConfig::LCMS2, for libhueweave_transform and the command, and as the reference in tests and
# benchmarks. libHueweave does not need it, so it may be missing until something that does is built.
find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
  pkg_check_modules(LCMS2 QUIET IMPORTED_TARGET GLOBAL lcms2)
endif()
if(NOT LCMS2_FOUND)
  set(LCMS2_FOUND OFF)
endif()

function(hueweave_require_little_cms)
  if(NOT LCMS2_FOUND)
    message(FATAL_ERROR "pkg-config finds no Little CMS; install liblcms2-dev, or build libHueweave alone with "
                        "HUEWEAVE_BUILD_TRANSFORM, HUEWEAVE_BUILD_TOOL and HUEWEAVE_BUILD_TESTS=OFF")
  endif()
endfunction()
