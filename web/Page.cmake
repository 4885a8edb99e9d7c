# The page of "zqsettings serve": bundled from web/ by node, compressed, and turned into a source of the program. Sets
# ZQ_PAGE_SOURCE.
option(ZQ_PAGE "Build the page of zqsettings serve; needs node, npm and, once, the npm registry" ON)

set(web ${PROJECT_SOURCE_DIR}/web)
if(NOT ZQ_PAGE)
  set(ZQ_PAGE_SOURCE ${web}/NoPage.cpp)
  return()
endif()

find_program(ZQ_NODE NAMES node nodejs)
find_program(ZQ_NPM NAMES npm)
if(NOT ZQ_NODE OR NOT ZQ_NPM)
  message(FATAL_ERROR "node and npm are missing: run scripts/setup.sh, which installs them, or configure with "
                      "-DZQ_PAGE=OFF for a zqsettings without its page.")
endif()

set(ZQ_PAGE_SOURCE ${CMAKE_BINARY_DIR}/page/PageFiles.cpp)
file(GLOB_RECURSE page_sources CONFIGURE_DEPENDS ${web}/src/* ${PROJECT_SOURCE_DIR}/schemas/*.json)
# The packages are fetched once for all presets, and again when the lock file changes.
add_custom_command(
  OUTPUT ${web}/node_modules/.installed
  COMMAND ${web}/install.sh
  DEPENDS ${web}/install.sh ${web}/package-lock.json
  COMMENT "Fetching the page's packages"
  VERBATIM)
add_custom_command(
  OUTPUT ${ZQ_PAGE_SOURCE}
  COMMAND ${ZQ_NODE} ${web}/build.mjs ${ZQ_PAGE_SOURCE}
  DEPENDS ${web}/node_modules/.installed ${web}/build.mjs ${web}/tsconfig.json ${page_sources}
  COMMENT "Bundling the page"
  VERBATIM)
