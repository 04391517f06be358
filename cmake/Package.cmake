# SPDX-License-Identifier: MIT
# cpack: .deb packages (the preset `package` has Debian's prefix), or one .zip for Windows.
set(CPACK_PACKAGE_VENDOR "The quietfloor authors")
set(CPACK_PACKAGE_CONTACT "${CPACK_PACKAGE_VENDOR} <quietfloor@example.org>")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

if(WIN32)
    set(CPACK_GENERATOR ZIP)
    install(FILES LICENSE README.md CHANGELOG.md DESTINATION . COMPONENT library)
    if(TARGET quietfloor-cli AND DEFINED windows_libraries) # for what is linked in
        install(DIRECTORY ${windows_libraries}/licenses DESTINATION . COMPONENT program)
    endif()
    include(CPack)
    return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_COMPONENTS_ALL)

function(debian_package component name section description)
    install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} RENAME copyright
        COMPONENT ${component})
    list(APPEND CPACK_COMPONENTS_ALL ${component})
    string(TOUPPER ${component} COMPONENT)
    set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME ${name} PARENT_SCOPE)
    set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_SECTION ${section} PARENT_SCOPE)
    set(CPACK_COMPONENT_${COMPONENT}_DESCRIPTION ${description} PARENT_SCOPE)
    set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} PARENT_SCOPE)
endfunction()

set(runtime_package libquietfloor${PROJECT_VERSION_MAJOR})
debian_package(library ${runtime_package} libs "The library that hosts load.")
debian_package(development libquietfloor-dev libdevel
    "Headers, the static library, and how CMake and pkg-config find them.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime_package} (= ${PROJECT_VERSION})")
if(TARGET quietfloor_lv2)
    debian_package(plugins quietfloor-plugins sound "The plug-ins for LV2 and LADSPA hosts.")
    set(CPACK_DEBIAN_PLUGINS_PACKAGE_PROVIDES "ladspa-plugin, lv2-plugin") # what hosts' packages recommend
    install(FILES examples/pipewire/quietfloor-microphone.conf
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/quietfloor-plugins/examples COMPONENT plugins)
endif()
if(TARGET quietfloor-cli)
    debian_package(program quietfloor sound "The program for sound files.")
endif()
include(CPack)
