# SPDX-License-Identifier: MIT
# Little CMS as the target PkgConfig::LCMS2, for the command, and as the reference in tests and benchmarks.
find_package(PkgConfig REQUIRED)
pkg_check_modules(LCMS2 REQUIRED IMPORTED_TARGET GLOBAL lcms2)
