# SPDX-License-Identifier: MIT
# CPack runs this on the staged trees before packaging. The files for pkg-config get the prefix that the package is for.
# For .deb packages, it also compresses manual pages and changelogs, and adds the packaging changelog to each package.
set(prefix /usr/local) # an archive can be unpacked anywhere
if(CPACK_GENERATOR STREQUAL "DEB")
  set(prefix ${CPACK_PACKAGING_INSTALL_PREFIX})
endif()
file(GLOB_RECURSE modules ${CPACK_TEMPORARY_DIRECTORY}/*.pc)
foreach(module ${modules})
  file(READ ${module} text)
  string(REGEX REPLACE "^prefix=[^\n]*" "prefix=${prefix}" text "${text}")
  file(WRITE ${module} "${text}")
endforeach()
if(NOT CPACK_GENERATOR STREQUAL "DEB")
  return()
endif()
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC) # honours SOURCE_DATE_EPOCH
file(GLOB_RECURSE files ${CPACK_TEMPORARY_DIRECTORY}/*)
# Static libraries need no debugging information.
set(archives ${files})
list(FILTER archives INCLUDE REGEX "\\.a$")
if(archives)
  execute_process(COMMAND strip --strip-debug --enable-deterministic-archives ${archives} COMMAND_ERROR_IS_FATAL ANY)
endif()
# Debian's zsh searches a separate folder for completions from packages.
set(completions ${files})
list(FILTER completions INCLUDE REGEX "/zsh/site-functions/_[a-z]+$")
foreach(completion ${completions})
  string(REGEX REPLACE "/site-functions/[^/]*$" "" zsh_dir ${completion})
  file(RENAME ${zsh_dir}/site-functions ${zsh_dir}/vendor-completions)
endforeach()
set(pages ${files})
list(FILTER pages INCLUDE REGEX "/man/man[1-8]/[^/]*\\.[1-8]$")
set(changes ${files})
list(FILTER changes INCLUDE REGEX "/doc/[^/]*/changelog$")
foreach(file ${changes})
  file(WRITE ${file}.Debian
       "hueweave (${CPACK_PACKAGE_VERSION}-1) unstable; urgency=medium\n\n  * See changelog.gz beside this file.\n\n"
       " -- ${CPACK_PACKAGE_CONTACT}  ${date}\n")
  list(APPEND pages ${file} ${file}.Debian)
endforeach()
if(pages)
  execute_process(COMMAND gzip -9nf ${pages} COMMAND_ERROR_IS_FATAL ANY)
endif()
