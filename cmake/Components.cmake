# A component of src/: one folder, one static library.
#
#   zq_component(<target> FOLDER <folder below src> SOURCES <source>... [PUBLIC <target>...] [PRIVATE <target>...])
#
# A component sees its own headers and those of the components that it links, and no others: the headers of each one
# are linked into a search path of its own, so that an include against the direction of the arrows does not compile.
# PUBLIC are the components that its headers include, PRIVATE those that only its sources do.
function(zq_component target)
  cmake_parse_arguments(ARG "" "FOLDER" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  add_library(${target} STATIC ${ARG_SOURCES})
  zq_component_headers(${target} ${ARG_FOLDER})
  target_link_libraries(${target} PUBLIC ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE} zq_options)
  set_property(GLOBAL APPEND PROPERTY ZQ_COMPONENTS ${target})
  if(ZQ_COVERAGE)
    target_compile_options(${target} PRIVATE --coverage -fprofile-update=atomic)
    target_link_options(${target} PUBLIC --coverage)
  endif()
endfunction()

function(zq_component_headers target folder)
  set(search_path ${CMAKE_BINARY_DIR}/components/${target})
  set(linked ${search_path}/${folder})
  file(GLOB headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/${folder}/*.h)
  file(GLOB old_links ${linked}/*.h)
  foreach(link IN LISTS old_links)
    get_filename_component(name ${link} NAME)
    if(NOT EXISTS ${PROJECT_SOURCE_DIR}/src/${folder}/${name})
      file(REMOVE ${link})
    endif()
  endforeach()
  file(MAKE_DIRECTORY ${linked})
  foreach(header IN LISTS headers)
    get_filename_component(name ${header} NAME)
    if(NOT EXISTS ${linked}/${name})
      file(CREATE_LINK ${header} ${linked}/${name} SYMBOLIC)
    endif()
  endforeach()
  target_include_directories(${target} PUBLIC ${search_path})
endfunction()
