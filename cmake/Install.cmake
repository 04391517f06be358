# The package: shared library, public headers, and a configuration for find_package(quietfloor).
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/quietfloor)

install(TARGETS quietfloor EXPORT quietfloorTargets LIBRARY ARCHIVE RUNTIME)
foreach(header dsp/SingleChannelAdaptiveNoise.h dsp/WhiteNoise.h fft/FFT.h lib/Export.h)
    cmake_path(GET header PARENT_PATH folder)
    install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/quietfloor/${folder})
endforeach()

install(EXPORT quietfloorTargets NAMESPACE quietfloor:: DESTINATION ${package_dir})
configure_package_config_file(cmake/quietfloorConfig.cmake.in quietfloorConfig.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(quietfloorConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/quietfloorConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/quietfloorConfigVersion.cmake DESTINATION ${package_dir})
