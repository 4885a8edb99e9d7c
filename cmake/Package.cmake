# What is installed: everything that a host's author and a user need. packaging/make_packages.py wraps it.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# Microsoft's linker takes another import library than MinGW's; LLD makes it from the list of exports, beside an
# empty DLL that nobody needs.
find_program(ZQ_LLD_LINK NAMES lld-link-14 lld-link)
if(NOT ZQ_LLD_LINK)
  message(FATAL_ERROR "lld-link is missing: run scripts/setup.sh, which installs it.")
endif()
set(microsoft_import_library ${CMAKE_BINARY_DIR}/microsoft/ZQModSettings.lib)
add_custom_command(
  OUTPUT ${microsoft_import_library}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/microsoft
  COMMAND
    ${ZQ_LLD_LINK} /nologo /dll /noentry /nodefaultlib /machine:x64 /force:unresolved
    /def:${CMAKE_CURRENT_LIST_DIR}/ZQModSettings.def /out:${CMAKE_BINARY_DIR}/microsoft/ZQModSettings.dll
    /implib:${microsoft_import_library}
  DEPENDS ${CMAKE_CURRENT_LIST_DIR}/ZQModSettings.def
  VERBATIM)
add_custom_target(microsoft_import_library ALL DEPENDS ${microsoft_import_library})

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ZQModSettings)
configure_package_config_file(
  ${CMAKE_CURRENT_LIST_DIR}/ZQModSettingsConfig.cmake.in ${CMAKE_BINARY_DIR}/ZQModSettingsConfig.cmake
  INSTALL_DESTINATION ${package_dir}
  PATH_VARS CMAKE_INSTALL_BINDIR CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_INCLUDEDIR)
# The interfaces are tables of functions: a minor version may only add slots at their end.
write_basic_package_version_file(${CMAKE_BINARY_DIR}/ZQModSettingsConfigVersion.cmake COMPATIBILITY SameMajorVersion)

install(TARGETS ZQModSettings zqsettings RUNTIME ARCHIVE)
install(FILES ${microsoft_import_library} DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ TYPE INCLUDE FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")
install(FILES ${ZQ_KEYS_HEADER} TYPE INCLUDE)
install(FILES ${CMAKE_BINARY_DIR}/ZQModSettingsConfig.cmake ${CMAKE_BINARY_DIR}/ZQModSettingsConfigVersion.cmake
              ${CMAKE_CURRENT_LIST_DIR}/ZQModSettingsDeploy.cmake
        DESTINATION ${package_dir})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/defaults DESTINATION ${CMAKE_INSTALL_BINDIR})
# Where the links of the guides expect them.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/schemas ${PROJECT_SOURCE_DIR}/examples ${PROJECT_SOURCE_DIR}/docs DESTINATION .)
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${PROJECT_SOURCE_DIR}/CONTRIBUTING.md
              ${PROJECT_SOURCE_DIR}/THIRD-PARTY.md ${PROJECT_SOURCE_DIR}/NOTICE DESTINATION .)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION . OPTIONAL)
if(ZQ_RELEASE_IMAGES)
  install(FILES ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/ZQModSettings.pdb ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/zqsettings.pdb
          DESTINATION symbols)
endif()

# The licences of what is linked in, as the system that built it has them; THIRD-PARTY.md lists them.
foreach(package IN ITEMS mingw-w64-x86-64-dev g++-mingw-w64-x86-64-posix rapidjson-dev libcli11-dev libboost1.81-dev)
  install(
    FILES /usr/share/doc/${package}/copyright
    DESTINATION licences
    RENAME ${package}.txt)
endforeach()
if(ZQ_PAGE)
  install(
    FILES ${CMAKE_BINARY_DIR}/page/page-licences.txt
    DESTINATION licences
    RENAME page.txt)
endif()
# The texts that those refer to.
install(FILES /usr/share/common-licenses/GPL-3 /usr/share/common-licenses/LGPL-2 DESTINATION licences)

add_custom_target(zq_package_files DEPENDS ZQModSettings zqsettings microsoft_import_library manual settings_keys_header check_defaults)
