# Debian packages (cpack -G DEB, see scripts/package), one per install
# component:
#   module  the plugin and its translations
#   tools   cascade-host, cascade-sim, the host's translations, the scenarios, the docs
#   dev     the host headers, the socket library and the CMake package config
# The version is the project's; the run-time dependencies are found by
# dpkg-shlibdeps from the binaries.
set(CASCADE_PACKAGE_MAINTAINER "Cascaded System developers <cascade-dev@example.org>" CACHE STRING
    "Maintainer field of the Debian packages")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME cascaded-system)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "Cascaded System developers")
set(CPACK_PACKAGE_CONTACT ${CASCADE_PACKAGE_MAINTAINER})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Cascaded System module for a measurement-system frontend")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL module)
if(CASCADE_BUILD_TOOLS)
    list(APPEND CPACK_COMPONENTS_ALL tools)
endif()
list(APPEND CPACK_COMPONENTS_ALL dev)

set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${CASCADE_PACKAGE_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

set(CPACK_DEBIAN_MODULE_PACKAGE_NAME cascaded-system-module)
set(CPACK_COMPONENT_MODULE_DESCRIPTION
    "The Qt plugin and its translations: adds the Cascaded System settings dialog to the host's Hardware menu.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME cascaded-system-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS cascaded-system-module)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
    "cascade-host, a minimal host that loads the modules and talks to a controller, and cascade-sim, which simulates a LAN of controllers on loopback addresses.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME cascaded-system-dev)
if(CASCADE_QT_MAJOR STREQUAL "6")
    set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "qt6-base-dev")
else()
    set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "qtbase5-dev")
endif()
set(CPACK_COMPONENT_DEV_DESCRIPTION
    "The host headers and the socket library for building modules: find_package(CascadedSystem) gives CascadedSystem::HostInterfaces and CascadedSystem::vx_udptcp.")

include(CPack)
