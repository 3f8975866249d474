# SPDX-License-Identifier: MIT
# Debian packages (cpack -G DEB, see scripts/package), one per install
# component:
#   module  the plugin and its translations
#   tools   cascade-host, cascade-walkthrough, cascade-sim, the host's
#           translations, the scenarios,
#           the docs, the manual pages, the desktop entry and its icons
#   dev     the host headers, the socket library and the CMake package config
# Every package has /usr/share/doc/<package>/ with its copyright file (from
# LICENSE) and changelog.gz (from CHANGELOG.md). The version is the
# project's; the run-time dependencies are found by dpkg-shlibdeps from the
# binaries. Included before the subfolders, which call cascade_add_man_page().
set(CASCADE_PACKAGE_MAINTAINER "Cascaded System developers <cascade-dev@example.org>" CACHE STRING
    "Maintainer field of the Debian packages (also the contact in their copyright files)")

set(CASCADE_PACKAGE_MODULE cascaded-system-module)
set(CASCADE_PACKAGE_TOOLS cascaded-system-tools)
set(CASCADE_PACKAGE_DEV cascaded-system-dev)

# The packages install under /usr; the manual pages name these folders.
set(CASCADE_PACKAGE_PREFIX /usr)
function(cascade_package_path var dir)
    if(IS_ABSOLUTE "${dir}")
        set(${var} "${dir}" PARENT_SCOPE)
    else()
        set(${var} "${CASCADE_PACKAGE_PREFIX}/${dir}" PARENT_SCOPE)
    endif()
endfunction()
cascade_package_path(CASCADE_PACKAGE_MODULEDIR "${CASCADE_INSTALL_MODULEDIR}")
cascade_package_path(CASCADE_PACKAGE_SHAREDIR "${CASCADE_INSTALL_SHAREDIR}")
cascade_package_path(CASCADE_PACKAGE_DOCDIR "${CMAKE_INSTALL_DATADIR}/doc/${CASCADE_PACKAGE_TOOLS}")
# What the programs print about their build-tree folders, and the package
# folders the manual pages say instead.
set(CASCADE_MAN_PATHS
    "${CMAKE_BINARY_DIR}/bin/modules" "${CASCADE_PACKAGE_MODULEDIR}"
    "${CMAKE_SOURCE_DIR}/sim/scenarios" "${CASCADE_PACKAGE_SHAREDIR}/scenarios")
include(${CMAKE_CURRENT_LIST_DIR}/CascadeManPages.cmake)

# The copyright file, in Debian's machine-readable format, with the text of
# LICENSE (from "Permission" on; blank lines become " .").
file(READ ${CMAKE_SOURCE_DIR}/LICENSE license)
string(REGEX MATCH "Copyright \\(c\\) ([^\n]*)" CASCADE_COPYRIGHT "${license}")
set(CASCADE_COPYRIGHT "${CMAKE_MATCH_1}")
string(FIND "${license}" "Permission" start)
string(SUBSTRING "${license}" ${start} -1 license)
string(STRIP "${license}" license)
string(REPLACE "\n\n" "\n.\n" license "${license}")
string(REPLACE "\n" "\n " CASCADE_LICENSE_TEXT " ${license}")
configure_file(${CMAKE_SOURCE_DIR}/packaging/copyright.in ${CMAKE_BINARY_DIR}/packaging/copyright @ONLY)

# changelog.gz: CHANGELOG.md in the format of a Debian changelog, which is
# what Debian's tools read there. Each "## <version> (<yyyy-mm-dd>)" section
# becomes an entry, its "- " items the entry's items, signed by the
# maintainer on that day. The newest version and date go to the AppStream
# metadata too (CASCADE_RELEASE_VERSION, CASCADE_RELEASE_DATE).
function(cascade_debian_changelog markdown output)
    file(STRINGS ${markdown} lines)
    set(text "")
    set(version "")
    foreach(line IN LISTS lines)
        if(line MATCHES "^## ([^ ]+) \\(([0-9-]+)\\)")
            # The previous entry's signature, after a blank line as in the last one.
            if(version)
                string(APPEND text "\n${trailer}\n\n")
            else()
                set(CASCADE_RELEASE_VERSION ${CMAKE_MATCH_1} PARENT_SCOPE)
                set(CASCADE_RELEASE_DATE ${CMAKE_MATCH_2} PARENT_SCOPE)
            endif()
            set(version ${CMAKE_MATCH_1})
            execute_process(COMMAND date -u -R -d ${CMAKE_MATCH_2} OUTPUT_VARIABLE day
                OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE rc)
            if(NOT rc EQUAL 0)
                message(FATAL_ERROR "CHANGELOG.md: bad date in \"${line}\"")
            endif()
            string(APPEND text "${CPACK_PACKAGE_NAME} (${version}) unstable; urgency=medium\n\n")
            set(trailer " -- ${CASCADE_PACKAGE_MAINTAINER}  ${day}")
        elseif(version AND line MATCHES "^- (.*)")
            string(APPEND text "  * ${CMAKE_MATCH_1}\n")
        elseif(version AND line MATCHES "^ +(.*)")
            string(APPEND text "    ${CMAKE_MATCH_1}\n")
        elseif(version AND NOT line STREQUAL "")
            string(APPEND text "  ${line}\n")
        endif()
    endforeach()
    if(NOT version)
        message(FATAL_ERROR "CHANGELOG.md has no \"## <version> (<date>)\" section")
    endif()
    file(WRITE ${output} "${text}\n${trailer}\n")
endfunction()
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/CHANGELOG.md)
set(CPACK_PACKAGE_NAME cascaded-system)
cascade_debian_changelog(${CMAKE_SOURCE_DIR}/CHANGELOG.md ${CMAKE_BINARY_DIR}/packaging/changelog)
if(NOT CASCADE_RELEASE_VERSION STREQUAL PROJECT_VERSION)
    message(WARNING "CHANGELOG.md begins with version ${CASCADE_RELEASE_VERSION}, not with ${PROJECT_VERSION}")
endif()
# Compressed as Debian's tools do it: -9, no name or time stamp.
set(CASCADE_CHANGELOG ${CMAKE_BINARY_DIR}/packaging/changelog.gz)
add_custom_command(OUTPUT ${CASCADE_CHANGELOG}
    COMMAND gzip -9n -c ${CMAKE_BINARY_DIR}/packaging/changelog > ${CASCADE_CHANGELOG}
    DEPENDS ${CMAKE_BINARY_DIR}/packaging/changelog
    COMMENT "Compressing the changelog")
add_custom_target(cascade_changelog ALL DEPENDS ${CASCADE_CHANGELOG})

set(CPACK_COMPONENTS_ALL module)
if(CASCADE_BUILD_TOOLS)
    list(APPEND CPACK_COMPONENTS_ALL tools)
endif()
list(APPEND CPACK_COMPONENTS_ALL dev)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} upper)
    install(FILES ${CMAKE_BINARY_DIR}/packaging/copyright ${CASCADE_CHANGELOG}
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CASCADE_PACKAGE_${upper}} COMPONENT ${component})
endforeach()

# The host's menu entry, its icon in the hicolor theme and its AppStream
# metadata.
if(CASCADE_BUILD_TOOLS)
    install(FILES ${CMAKE_SOURCE_DIR}/packaging/cascade-host.desktop
        DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT tools)
    # The file is named after the component id, as AppStream wants it.
    configure_file(${CMAKE_SOURCE_DIR}/packaging/org.example.cascadedsystem.host.metainfo.xml.in
        ${CMAKE_BINARY_DIR}/packaging/org.example.cascadedsystem.host.metainfo.xml @ONLY)
    install(FILES ${CMAKE_BINARY_DIR}/packaging/org.example.cascadedsystem.host.metainfo.xml
        DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo COMPONENT tools)
    foreach(size 16 22 24 32 48 128 256)
        install(FILES ${CMAKE_SOURCE_DIR}/packaging/icons/${size}x${size}/cascade-host.png
            DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps COMPONENT tools)
    endforeach()
    install(FILES ${CMAKE_SOURCE_DIR}/host/resources/cascade-host.png
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/64x64/apps COMPONENT tools)
    install(FILES ${CMAKE_SOURCE_DIR}/packaging/icons/scalable/cascade-host.svg
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps COMPONENT tools)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "Cascaded System developers")
set(CPACK_PACKAGE_CONTACT ${CASCADE_PACKAGE_MAINTAINER})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Cascaded System module for a measurement-system frontend")
set(CPACK_PACKAGING_INSTALL_PREFIX ${CASCADE_PACKAGE_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)

# No Homepage field: the project has no public site or repository.
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${CASCADE_PACKAGE_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

# Descriptions: the first line is the synopsis, the others the extended
# description; every line fits in 80 columns, as lintian wants.
set(CPACK_DEBIAN_MODULE_PACKAGE_NAME ${CASCADE_PACKAGE_MODULE})
set(CPACK_COMPONENT_MODULE_DESCRIPTION "settings module for cascades of measurement controllers
A Qt plugin with its English and German texts. Loaded by the host
(cascade-host or the frontend of the measurement system), it adds
the Cascaded System entry to the Hardware menu: its dialog makes controllers
found by a LAN scan, or named by hand, slaves of the master controller.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME ${CASCADE_PACKAGE_TOOLS})
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS ${CASCADE_PACKAGE_MODULE})
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "minimal host and controller simulator for the cascade module
cascade-host is a minimal host that loads the modules and talks to one
controller over TCP; it has a desktop menu entry. cascade-sim simulates
a LAN of controllers on loopback addresses from a JSON scenario, so that
the modules can be tried without hardware. cascade-walkthrough checks an
installation by walking through the module's dialog offscreen.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME ${CASCADE_PACKAGE_DEV})
if(CASCADE_QT_MAJOR STREQUAL "6")
    set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "qt6-base-dev")
else()
    set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "qtbase5-dev")
endif()
set(CPACK_COMPONENT_DEV_DESCRIPTION "host headers and socket library for building cascade modules
The interface headers of the host, the controller protocol header and
the static socket library vx_udptcp, with a CMake package config:
find_package(CascadedSystem) gives the targets
CascadedSystem::HostInterfaces and CascadedSystem::vx_udptcp.")

include(CPack)
