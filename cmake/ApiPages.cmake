# SPDX-License-Identifier: MIT
# The reference of both interfaces as HTML pages, for -DHUEWEAVE_API_PAGES=ON. They are without scripts: Doxygen's are
# programs of others, and only for graphs that these pages have not.
find_program(HUEWEAVE_DOXYGEN doxygen REQUIRED)
set(api_pages ${PROJECT_BINARY_DIR}/api-pages)
file(WRITE ${api_pages}/Doxyfile "@INCLUDE = ${PROJECT_SOURCE_DIR}/docs/Doxyfile\nOUTPUT_DIRECTORY = ${api_pages}\n"
                                 "HTML_OUTPUT = html\nHTML_DYNAMIC_MENUS = NO\nSEARCHENGINE = NO\n")
file(GLOB api_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/include/hueweave/*)
add_custom_command(
  OUTPUT ${api_pages}/html/index.html
  DEPENDS ${api_headers} ${PROJECT_SOURCE_DIR}/docs/Doxyfile ${api_pages}/Doxyfile
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${api_pages}/html
  COMMAND ${HUEWEAVE_DOXYGEN} ${api_pages}/Doxyfile
  COMMAND find ${api_pages}/html -name *.html -exec sed -i "/<script /d" {} +
  COMMAND find ${api_pages}/html -name *.js -delete
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
  VERBATIM)
add_custom_target(hueweave_api_pages ALL DEPENDS ${api_pages}/html/index.html)
install(DIRECTORY ${api_pages}/html DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/libhueweave-dev COMPONENT dev)
