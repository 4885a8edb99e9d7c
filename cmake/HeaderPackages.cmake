# Header-only libraries of the build machine. /usr/include itself must never be on a cross-compiler's path, so each
# library's own folder is linked into build/deps and only that folder is searched.
set(ZQ_DEPS_DIR ${CMAKE_BINARY_DIR}/deps)
file(MAKE_DIRECTORY ${ZQ_DEPS_DIR})

# zq_header_package(<target> <folder or header in /usr/include>...)
function(zq_header_package target)
  add_library(${target} INTERFACE)
  foreach(name IN LISTS ARGN)
    if(NOT EXISTS /usr/include/${name})
      message(FATAL_ERROR "/usr/include/${name} is missing: run scripts/setup.sh, which installs it.")
    endif()
    if(NOT EXISTS ${ZQ_DEPS_DIR}/${name})
      file(CREATE_LINK /usr/include/${name} ${ZQ_DEPS_DIR}/${name} SYMBOLIC)
    endif()
  endforeach()
  target_include_directories(${target} SYSTEM INTERFACE ${ZQ_DEPS_DIR})
endfunction()
