# SPDX-License-Identifier: MIT
# The page of `hueweave report`: bundles its modules with libraries of Debian packages, none of which is in this
# repository. Adds the page to the target `tool`; without the packages, says so and leaves the command without `report`.
function(hueweave_report_page tool)
  set(page ${PROJECT_SOURCE_DIR}/apps/hueweave/report/page)
  find_program(HUEWEAVE_ESBUILD esbuild)
  find_file(HUEWEAVE_THREE three.module.js PATHS /usr/share/javascript/three/build NO_DEFAULT_PATH)
  find_file(HUEWEAVE_ORBIT_CONTROLS OrbitControls.js PATHS /usr/share/javascript/three/examples/jsm/controls
            NO_DEFAULT_PATH)
  find_file(HUEWEAVE_DYGRAPHS dygraph.min.js PATHS /usr/share/javascript/dygraphs NO_DEFAULT_PATH)
  foreach(part HUEWEAVE_ESBUILD HUEWEAVE_THREE HUEWEAVE_ORBIT_CONTROLS HUEWEAVE_DYGRAPHS)
    if(NOT ${part})
      message(STATUS "The command is built without `report`: it needs the packages esbuild, libjs-three and libjs-dygraphs")
      return()
    endif()
  endforeach()
  get_filename_component(dygraphs ${HUEWEAVE_DYGRAPHS} DIRECTORY)

  set(assets ${CMAKE_CURRENT_BINARY_DIR}/report)
  file(GLOB modules CONFIGURE_DEPENDS ${page}/*.js ${page}/*.css)
  add_custom_command(
    OUTPUT ${assets}/report.js ${assets}/report.css
    COMMAND ${HUEWEAVE_ESBUILD} ${page}/report.js --bundle --minify --format=iife --target=es2019 --charset=utf8
            --legal-comments=none --log-level=warning --alias:three=${HUEWEAVE_THREE}
            --alias:orbit-controls=${HUEWEAVE_ORBIT_CONTROLS} --alias:dygraphs=${HUEWEAVE_DYGRAPHS}
            --alias:dygraphs-style=${dygraphs}/dygraph.css --outfile=${assets}/report.js
    DEPENDS ${modules}
    COMMENT "Bundling the page of hueweave report"
    VERBATIM)
  foreach(file page.html licences.txt)
    add_custom_command(OUTPUT ${assets}/${file} COMMAND ${CMAKE_COMMAND} -E copy ${page}/${file} ${assets}/${file}
                       DEPENDS ${page}/${file} VERBATIM)
  endforeach()
  target_sources(
    ${tool}
    PRIVATE cli/commands/ReportCommand.cpp
            report/Assets.cpp
            report/Html.cpp
            report/Judgements.cpp
            report/Page.cpp
            report/PictureSections.cpp
            report/PlotSections.cpp
            report/Plots.cpp
            report/ReportData.cpp
            report/ReportJson.cpp
            report/Sections.cpp
            report/measure/DisplayColours.cpp
            report/measure/Distribution.cpp
            report/measure/GamutSolid.cpp
            report/measure/ToneResponse.cpp
            report/picture/EmbeddedImage.cpp
            report/picture/PictureReader.cpp
            report/picture/PictureSummary.cpp
            report/picture/TiffPicture.cpp)
  set_source_files_properties(
    report/Assets.cpp
    PROPERTIES COMPILE_DEFINITIONS HUEWEAVE_REPORT_ASSETS="${assets}"
               OBJECT_DEPENDS "${assets}/report.js;${assets}/report.css;${assets}/page.html;${assets}/licences.txt"
               SKIP_PRECOMPILE_HEADERS ON)
  set_source_files_properties(cli/CommandLine.cpp PROPERTIES COMPILE_DEFINITIONS HUEWEAVE_HAS_REPORT)
  set_target_properties(${tool} PROPERTIES HUEWEAVE_HAS_REPORT ON)
endfunction()
