# What makes a program or DLL fit to be shipped: a stack protector, symbols for Windows in a PDB, a version resource, and
# no trace of the machine or the hour of its making.

# zq_release_code: compile options of the code of a release, in every preset for Windows.
add_library(zq_release_code INTERFACE)
if(WIN32)
  # GCC writes no CodeView; codeview.pl assembles its code and adds that. The specs file's name and content have the script's
  # hash: a change of the script compiles everything anew, past the compiler's cache. Both paths are relative to the folder
  # of the build, where the compiler runs, and the file is always of the same time, which the cache compares: so it
  # serves every preset.
  set(codeview ${CMAKE_CURRENT_LIST_DIR}/codeview.pl)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${codeview})
  file(MD5 ${codeview} codeview_hash)
  file(RELATIVE_PATH codeview ${CMAKE_BINARY_DIR} ${codeview})
  file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/codeview-${codeview_hash}.specs
       CONTENT "*invoke_as:\n%{!S:-o %|.s |\n @codeview@ --script=@codeview_hash@ %(asm_options) %m.s %A }\n\n" @ONLY)
  execute_process(COMMAND touch -d @0 ${CMAKE_BINARY_DIR}/codeview-${codeview_hash}.specs)
  set(options -g1 -gdwarf-4 -gno-variable-location-views -specs=codeview-${codeview_hash}.specs -fstack-protector-strong)
  target_compile_options(zq_release_code INTERFACE "$<$<COMPILE_LANGUAGE:CXX>:${options}>")
endif()

# zq_shipped: options of the code that is shipped, in release builds.
add_library(zq_shipped INTERFACE)
set(ZQ_RELEASE_IMAGES OFF)
if(WIN32 AND CMAKE_BUILD_TYPE STREQUAL "Release")
  set(ZQ_RELEASE_IMAGES ON)
  find_program(ZQ_OBJCOPY llvm-objcopy-14)
  if(NOT ZQ_OBJCOPY)
    message(FATAL_ERROR "llvm-objcopy-14 is missing: run scripts/setup.sh, which installs it.")
  endif()
  target_link_libraries(zq_shipped INTERFACE zq_release_code zq_image)
endif()

# zq_compile_small(<target>): a release compiles code for size that waits for the system or for a person. That also takes half
# the time.
function(zq_compile_small target)
  if(ZQ_RELEASE_IMAGES)
    target_compile_options(${target} PRIVATE -Os)
  endif()
endfunction()

# zq_compile_options(<options> <source>...): a release compiles these sources of a component otherwise than the component.
function(zq_compile_options options)
  if(ZQ_RELEASE_IMAGES)
    set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS "${options}")
  endif()
endfunction()

# What loads and packets go through for each value. A pair of words that has just been written one by one is slow to read as one
# vector.
set(ZQ_FASTEST -finline-limit=1000 -fno-tree-slp-vectorize)

# zq_link_with_lld(<target>): takes a fraction of a second where the compiler's own linker takes up to twenty. It can also leave
# out what nothing calls.
function(zq_link_with_lld target)
  if(WIN32)
    set(wrapper ${PROJECT_SOURCE_DIR}/cmake/link-with-lld.sh)
    target_link_options(${target} PRIVATE -fno-use-linker-plugin "SHELL:-wrapper ${wrapper}")
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${wrapper})
  endif()
endfunction()

# zq_release_image(<target> <description>): gives <target> its version resource, and in release builds links it as it is
# shipped; its symbols are bin/<name>.pdb.
function(zq_release_image target description)
  zq_version_resource(${target} "${description}")
  target_link_libraries(${target} PRIVATE zq_shipped)
  if(NOT ZQ_RELEASE_IMAGES)
    return()
  endif()
  zq_link_with_lld(${target})
  # What nothing calls is left out, a third of the DLL. Paths are relative to the folder of the build, where the linker
  # runs: an absolute one would name this machine. The image names its PDB without a folder.
  target_link_options(
    ${target}
    PRIVATE
    -Wl,--gc-sections
    -Wl,--pdb=bin/${target}.pdb
    -Wl,-Xlink=-debug:ghash
    -Wl,-Xlink=-pdbaltpath:${target}.pdb
    -Wl,-Xlink=-pdbsourcepath:.
    -Wl,-Xlink=-Brepro)
  # mingw-w64's own objects bring DWARF.
  add_custom_command(
    TARGET ${target}
    POST_BUILD
    COMMAND ${ZQ_OBJCOPY} --strip-debug $<TARGET_FILE:${target}>
    COMMAND ${PROJECT_SOURCE_DIR}/cmake/pe-checksum.pl $<TARGET_FILE:${target}>
    VERBATIM)
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/pe-checksum.pl)
  set_property(TARGET ${target} APPEND PROPERTY ADDITIONAL_CLEAN_FILES ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${target}.pdb)
endfunction()

# The version is that of project(), which nothing else repeats.
function(zq_version_resource target description)
  get_target_property(type ${target} TYPE)
  set(file_type VFT_APP)
  set(file_name ${target}.exe)
  if(type STREQUAL "SHARED_LIBRARY")
    set(file_type VFT_DLL)
    set(file_name ${target}.dll)
  endif()
  set(file_flags 0)
  if(CMAKE_BUILD_TYPE STREQUAL "Debug")
    set(file_flags VS_FF_DEBUG)
  endif()
  configure_file(${PROJECT_SOURCE_DIR}/cmake/VersionInfo.rc.in ${target}.rc @ONLY)
  target_sources(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc)
endfunction()
