# SPDX-License-Identifier: MIT
# Run by CPack over each staged tree before it is packed: Debian keeps manual pages and changes compressed.
if(NOT CPACK_GENERATOR STREQUAL "DEB")
  return()
endif()
file(GLOB_RECURSE pages ${CPACK_TEMPORARY_DIRECTORY}/*/man/man*/* ${CPACK_TEMPORARY_DIRECTORY}/*/doc/*/changelog)
if(pages)
  execute_process(COMMAND gzip -9nf ${pages} COMMAND_ERROR_IS_FATAL ANY)
endif()
