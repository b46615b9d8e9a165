# SPDX-License-Identifier: MIT
# hueweave_unity(<target>): compiles the sources in each folder of a target as one, because parsing headers and making
# instances of templates takes longer than compiling the sources. Names in unnamed namespaces are therefore unique within
# such a folder. Sources with compile options of their own stay apart.
function(hueweave_unity target)
  if(NOT HUEWEAVE_UNITY)
    return()
  endif()
  get_target_property(sources ${target} SOURCES)
  foreach(source ${sources})
    if(source MATCHES "^([a-z]+)/")
      set_source_files_properties(${source} PROPERTIES UNITY_GROUP ${CMAKE_MATCH_1})
    endif()
  endforeach()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
endfunction()
