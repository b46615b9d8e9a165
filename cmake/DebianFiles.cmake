# SPDX-License-Identifier: MIT
# Run by CPack over the staged trees before they are packed, for the .deb packages alone: manual pages and changes are
# compressed, and each package gets the changelog of its packaging.
if(NOT CPACK_GENERATOR STREQUAL "DEB")
  return()
endif()
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC) # honours SOURCE_DATE_EPOCH
file(GLOB_RECURSE files ${CPACK_TEMPORARY_DIRECTORY}/*)
# Debian's zsh looks for what packages bring in a folder of its own.
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
