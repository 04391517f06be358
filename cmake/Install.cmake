# SPDX-License-Identifier: MIT
# What is installed: both libraries, the public headers, and how CMake and pkg-config find them. All of it
# may be moved as a whole. Components: `library` runs a host, `development` builds one, `program` is the
# program, `plugins` are the plug-ins.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/quietfloor)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS quietfloor EXPORT quietfloorShared
    RUNTIME COMPONENT library
    LIBRARY COMPONENT library NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development)
install(TARGETS quietfloor_core EXPORT quietfloorStatic ARCHIVE COMPONENT development)
if(TARGET quietfloor_lv2)
    get_target_property(bundle quietfloor_lv2 LIBRARY_OUTPUT_DIRECTORY)
    install(DIRECTORY ${bundle} DESTINATION ${QUIETFLOOR_LV2_DIR} COMPONENT plugins FILES_MATCHING PATTERN *.ttl)
    install(TARGETS quietfloor_lv2 LIBRARY DESTINATION ${QUIETFLOOR_LV2_DIR}/quietfloor.lv2 COMPONENT plugins)
    install(TARGETS quietfloor_ladspa LIBRARY DESTINATION ${QUIETFLOOR_LADSPA_DIR} COMPONENT plugins)
endif()
if(TARGET quietfloor-cli)
    install(TARGETS quietfloor-cli RUNTIME COMPONENT program)
    if(UNIX)
        install(FILES docs/quietfloor.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT program)
        install(FILES tools/completion/quietfloor.bash RENAME quietfloor
            DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT program)
    endif()
endif()

install(FILES include/quietfloor/quietfloor.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/quietfloor
    COMPONENT development)
foreach(header dsp/SingleChannelAdaptiveNoise.h dsp/WhiteNoise.h fft/FFT.h base/Export.h lib/Export.h
    lib/quietfloor.h)
    cmake_path(GET header PARENT_PATH folder)
    install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/quietfloor/${folder}
        COMPONENT development)
endforeach()

foreach(kind Shared Static)
    install(EXPORT quietfloor${kind} NAMESPACE quietfloor:: DESTINATION ${package_dir} COMPONENT development)
endforeach()
configure_package_config_file(cmake/quietfloorConfig.cmake.in quietfloorConfig.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(quietfloorConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/quietfloorConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/quietfloorConfigVersion.cmake
    DESTINATION ${package_dir} COMPONENT development)

# The file says where it lies; the prefix follows from that.
string(REGEX REPLACE "[^/]+" ".." prefix_from_pkgconfig ${pkgconfig_dir})
configure_file(cmake/quietfloor.pc.in quietfloor.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/quietfloor.pc DESTINATION ${pkgconfig_dir} COMPONENT development)
