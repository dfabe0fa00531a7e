# Debian packages: `cpack -G DEB` in a build folder; the preset "package" is made for it.
#
#   quillon          the commands with their manual pages
#   libquillon-dev   static libraries, headers, CMake and pkg-config files, texts, and the sample host
set(QUILLON_PACKAGE_CONTACT "The Quillon Update developers <maintainers@quillon.example>" CACHE STRING
  "Maintainer of the packages")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quillon)
set(CPACK_PACKAGE_VENDOR "The Quillon Update developers")
set(CPACK_PACKAGE_CONTACT "${QUILLON_PACKAGE_CONTACT}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL commands development)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/QuillonDebianFiles.cmake")
set(CPACK_QUILLON_SOURCE_FOLDER "${PROJECT_SOURCE_DIR}")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)

set(CPACK_DEBIAN_COMMANDS_PACKAGE_NAME quillon)
set(CPACK_DEBIAN_COMMANDS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_COMMANDS_PACKAGE_SHLIBDEPS ON)
set(CPACK_COMPONENT_COMMANDS_DESCRIPTION
"Makes, signs and checks application bundles and the feeds that offer them, and
replaces an installed bundle by a newer one. Applications that update
themselves hold a copy of these commands.")

# What the exported targets and the pkg-config files look for.
set(development_packages pkg-config libutf8proc-dev libsystemd-dev libcurl4-openssl-dev libdeflate-dev zlib1g-dev libssl-dev)
if(IPSecMB_FOUND)
  list(APPEND development_packages libipsec-mb-dev)
endif()
list(JOIN development_packages ", " development_packages)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libquillon-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "quillon (= ${PROJECT_VERSION}-1), ${development_packages}")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS "libgtkmm-4.0-dev, libwebkitgtk-6.0-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
"With these libraries an application checks a feed for updates of itself,
offers, downloads and verifies them, and has itself replaced and started again.
A sample application is in /usr/share/quillon/examples.")

include(CPack)
