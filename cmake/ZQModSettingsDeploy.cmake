# Included by the package's own configuration, by vcpkg's, and by Conan's, which names no folder of default files.
if(NOT DEFINED ZQModSettings_DEFAULTS_DIR)
  get_filename_component(ZQModSettings_DEFAULTS_DIR "${CMAKE_CURRENT_LIST_DIR}/../../../bin/defaults" ABSOLUTE)
endif()

# zqmodsettings_deploy(TARGET) copies the DLL and the default files to where a host looks for them: beside the program.
function(zqmodsettings_deploy target)
  add_custom_command(
    TARGET ${target}
    POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E copy_if_different $<TARGET_FILE:ZQModSettings::ZQModSettings> $<TARGET_FILE_DIR:${target}>
    COMMAND ${CMAKE_COMMAND} -E copy_directory ${ZQModSettings_DEFAULTS_DIR} $<TARGET_FILE_DIR:${target}>/defaults
    VERBATIM)
endfunction()
