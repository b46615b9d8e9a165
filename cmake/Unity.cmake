# SPDX-License-Identifier: MIT
# hueweave_unity(<target>): compiles the sources of each folder below that of the target as one, because parsing headers
# takes longer than compiling the sources. Names in the unnamed namespaces of a folder are therefore unique. Sources with
# compile options of their own stay apart.
function(hueweave_unity target)
  if(NOT HUEWEAVE_UNITY)
    return()
  endif()
  get_target_property(sources ${target} SOURCES)
  foreach(source ${sources})
    cmake_path(GET source PARENT_PATH folder)
    if(NOT folder STREQUAL "")
      string(REPLACE "/" "_" folder "${folder}")
      set_source_files_properties(${source} PROPERTIES UNITY_GROUP "${folder}")
    endif()
  endforeach()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
endfunction()
