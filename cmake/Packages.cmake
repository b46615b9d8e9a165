# SPDX-License-Identifier: MIT
# `cpack` creates one .deb for each component and one .tar.gz of everything; scripts/check-packages runs it and checks
# the result.
set(CPACK_PACKAGE_NAME hueweave)
set(CPACK_PACKAGE_VENDOR "The Hueweave authors")
set(CPACK_PACKAGE_CONTACT "The Hueweave authors <maintainers@hueweave.invalid>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_FILE_NAME hueweave-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR})
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_GENERATOR DEB TGZ)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

set(CPACK_COMPONENTS_ALL runtime dev)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libhueweave${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libhueweave-dev)
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME hueweave)
set(CPACK_DEBIAN_TRANSFORM_PACKAGE_NAME libhueweave-transform${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_TRANSFORM_PACKAGE_SECTION libs)
if(TARGET hueweave_transform)
  list(APPEND CPACK_COMPONENTS_ALL transform)
endif()
if(TARGET hueweave)
  list(APPEND CPACK_COMPONENTS_ALL tools)
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS $<TARGET_FILE_DIR:Hueweave>)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION graphics)

# CPack adds the project's description in front as the synopsis.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "colour matching of device RGB images")
set(about "Turns the raw RGB of a scanner or camera into sRGB, AdobeRGB, AppleRGB or
ColorMatchRGB through the device's ICC profile: buffers of 8 or 16 bits a
sample, or whole TIFF files.
.
")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "${about}This package holds the shared library.")
set(CPACK_DEBIAN_TRANSFORM_DESCRIPTION "Turns RGB pixels of any ICC profile into those of any other one, as exactly as
Little CMS in floating point: 8 or 16 bits per sample, or floats.
.
This package holds the shared library of transforms.")
set(CPACK_DEBIAN_DEV_DESCRIPTION "${about}This package holds the headers, the reference of the interface, examples, and
what pkg-config and CMake need to build programs with the library, and the same
for the library of transforms.")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "${about}This package holds the command-line program.")
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libhueweave${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION}-1)")
if(TARGET hueweave_transform)
  string(APPEND CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
         ", ${CPACK_DEBIAN_TRANSFORM_PACKAGE_NAME} (= ${PROJECT_VERSION}-1)")
  set(CPACK_DEBIAN_DEV_PACKAGE_SUGGESTS liblcms2-dev) # for the static library
endif()

# What dpkg-shlibdeps reads when programs with a library are packaged: the version that each function needs, or, from
# older tools, one for all. The loader's cache is updated.
foreach(component RUNTIME TRANSFORM)
  set(package ${CPACK_DEBIAN_${component}_PACKAGE_NAME})
  set(control ${PROJECT_BINARY_DIR}/debian/${package})
  configure_file(${CMAKE_CURRENT_LIST_DIR}/debian/${package}.symbols ${control}/symbols COPYONLY)
  file(STRINGS ${control}/symbols soname REGEX "^lib")
  string(REGEX REPLACE "^([A-Za-z_]+)\\.so\\.([0-9]+) .*" "\\1 \\2" soname "${soname}")
  file(WRITE ${control}/shlibs "${soname} ${package} (>= ${PROJECT_VERSION})\n")
  file(WRITE ${control}/triggers "activate-noawait ldconfig\n")
  set(CPACK_DEBIAN_${component}_PACKAGE_CONTROL_EXTRA ${control}/symbols ${control}/shlibs ${control}/triggers)
endforeach()

# Each package contains the licences and the changelog under its own name.
foreach(component ${CPACK_COMPONENTS_ALL})
  string(TOUPPER ${component} upper)
  set(doc_dir ${CMAKE_INSTALL_DATAROOTDIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  install(FILES ${CMAKE_CURRENT_LIST_DIR}/debian/copyright DESTINATION ${doc_dir} COMPONENT ${component})
  install(FILES ${PROJECT_SOURCE_DIR}/CHANGELOG.md DESTINATION ${doc_dir} RENAME changelog COMPONENT ${component})
endforeach()
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/PackageFiles.cmake)

include(CPack)
