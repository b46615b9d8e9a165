# SPDX-License-Identifier: MIT
# Files installed by `cmake --install`. Components: runtime (libHueweave), transform (libhueweave_transform), dev (what is
# needed to build programs with both), tools (the command). All paths are relative, so an installed tree can be moved as
# a whole.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Hueweave)
install(TARGETS Hueweave EXPORT HueweaveTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/hueweave/hueweave.h ${PROJECT_SOURCE_DIR}/include/hueweave/version.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/hueweave COMPONENT dev)
if(TARGET hueweave_transform)
  install(TARGETS hueweave_transform EXPORT HueweaveTargets
          LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT transform NAMELINK_COMPONENT dev
          ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev
          INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  if(TARGET hueweave_transform_static)
    install(TARGETS hueweave_transform_static EXPORT HueweaveTargets
            ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev
            INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  endif()
  install(FILES ${PROJECT_SOURCE_DIR}/include/hueweave/transform.h ${PROJECT_SOURCE_DIR}/include/hueweave/transform.hpp
          DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/hueweave COMPONENT dev)
endif()

# One manual page, linked under the name of each function.
file(STRINGS ${PROJECT_SOURCE_DIR}/Source/libHueweave.map exports REGEX "^ +[A-Za-z0-9_]+;")
string(REGEX MATCHALL "[A-Za-z0-9_]+" exports "${exports}")
set(pages ${PROJECT_SOURCE_DIR}/docs/man/libhueweave.3)
foreach(function ${exports})
  file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/man/${function}.3 CONTENT ".so man3/libhueweave.3\n")
  list(APPEND pages ${PROJECT_BINARY_DIR}/man/${function}.3)
endforeach()
install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT dev)

# find_package(Hueweave) and the target Hueweave::Hueweave.
install(EXPORT HueweaveTargets NAMESPACE Hueweave:: DESTINATION ${package_dir} COMPONENT dev)
configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/HueweaveConfig.cmake.in ${PROJECT_BINARY_DIR}/HueweaveConfig.cmake
  INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/HueweaveConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/HueweaveConfig.cmake ${PROJECT_BINARY_DIR}/HueweaveConfigVersion.cmake
        DESTINATION ${package_dir} COMPONENT dev)

# What a program with the libraries can begin with.
file(GLOB examples CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/examples/*.*)
install(FILES ${examples} DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/libhueweave-dev/examples COMPONENT dev)
if(HUEWEAVE_API_PAGES)
  include(${CMAKE_CURRENT_LIST_DIR}/ApiPages.cmake)
endif()

# pkg-config. The files name the prefix that is known when they are installed; a folder that was given as an absolute
# path remains one.
foreach(folder LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE ${CMAKE_INSTALL_${folder}})
    set(pc_${folder} ${CMAKE_INSTALL_${folder}})
  else()
    set(pc_${folder} "\${prefix}/${CMAKE_INSTALL_${folder}}")
  endif()
endforeach()
# Programs in C that link a static library need what the compiler of C++ adds.
set(pc_runtime ${CMAKE_CXX_IMPLICIT_LINK_LIBRARIES})
list(REMOVE_ITEM pc_runtime ${CMAKE_C_IMPLICIT_LINK_LIBRARIES})
list(REMOVE_DUPLICATES pc_runtime)
list(TRANSFORM pc_runtime PREPEND -l)
list(JOIN pc_runtime " " pc_runtime)
set(pc_modules hueweave)
if(TARGET hueweave_transform)
  list(APPEND pc_modules hueweave-transform)
endif()
foreach(module ${pc_modules})
  set(pc_prefix "@CMAKE_INSTALL_PREFIX@") # filled in at installation
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${module}.pc.in ${PROJECT_BINARY_DIR}/${module}.pc.in @ONLY)
  install(
    CODE "set(pc \"${CMAKE_INSTALL_LIBDIR}/pkgconfig/${module}.pc\")
          cmake_path(ABSOLUTE_PATH pc BASE_DIRECTORY \"\${CMAKE_INSTALL_PREFIX}\")
          message(STATUS \"Installing: \$ENV{DESTDIR}\${pc}\")
          configure_file(\"${PROJECT_BINARY_DIR}/${module}.pc.in\" \"\$ENV{DESTDIR}\${pc}\" @ONLY)
          list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${pc}\")"
    COMPONENT dev)
endforeach()

if(TARGET hueweave)
  install(TARGETS hueweave RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  file(GLOB command_pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/*.1)
  install(FILES ${command_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
  install(FILES ${PROJECT_SOURCE_DIR}/docs/completion/hueweave.bash RENAME hueweave
          DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions COMPONENT tools)
  install(FILES ${PROJECT_SOURCE_DIR}/docs/completion/_hueweave
          DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/zsh/site-functions COMPONENT tools)
  install(FILES ${PROJECT_SOURCE_DIR}/docs/completion/hueweave.fish
          DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/fish/vendor_completions.d COMPONENT tools)
endif()
