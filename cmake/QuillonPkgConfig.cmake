# Writes a pkg-config file for each installed component: "quillon-<component in lower case with dashes>.pc".
#
# The libraries are static, so whoever links one needs everything that it uses: that stands in "Requires" and "Libs", where
# `pkg-config --libs` finds it without `--static`.

# What a linked library is for pkg-config: the module of a "Requires" line.
set(_QUILLON_MODULE_OF_CURL::libcurl libcurl)
set(_QUILLON_MODULE_OF_OpenSSL::Crypto libcrypto)
set(_QUILLON_MODULE_OF_PkgConfig::GTK "gtkmm-4.0 >= 4.8, gtk4-x11, webkitgtk-6.0, x11")
set(_QUILLON_MODULE_OF_PkgConfig::libdeflate libdeflate)
set(_QUILLON_MODULE_OF_PkgConfig::libsystemd libsystemd)
set(_QUILLON_MODULE_OF_PkgConfig::utf8proc libutf8proc)
set(_QUILLON_MODULE_OF_ZLIB::ZLIB zlib)
# Those that have no module.
set(_QUILLON_FLAG_OF_IPSecMB::IPSecMB -lIPSec_MB)
set(_QUILLON_FLAG_OF_Threads::Threads -pthread)

function(_quillon_module_name component result)
  string(REGEX REPLACE "^Quillon" "" name "${component}")
  string(REGEX REPLACE "([a-z])([A-Z])" "\\1-\\2" name "${name}")
  string(TOLOWER "quillon-${name}" name)
  set(${result} "${name}" PARENT_SCOPE)
endfunction()

function(quillon_install_pkg_config component)
  get_target_property(links ${component} INTERFACE_LINK_LIBRARIES)
  if(NOT links)
    set(links)
  endif()
  set(requires)
  set(flags "-L\${libdir} -l${component}")
  foreach(link ${links})
    string(REGEX REPLACE "^\\$<LINK_ONLY:(.*)>$" "\\1" link "${link}")  # of a private library
    if(link MATCHES "^Quillon::(.*)$")
      _quillon_module_name("${CMAKE_MATCH_1}" module)
      list(APPEND requires "${module} = ${PROJECT_VERSION}")
    elseif(DEFINED "_QUILLON_MODULE_OF_${link}")
      list(APPEND requires "${_QUILLON_MODULE_OF_${link}}")
    elseif(DEFINED "_QUILLON_FLAG_OF_${link}")
      string(APPEND flags " ${_QUILLON_FLAG_OF_${link}}")
    elseif(NOT link MATCHES "^-framework ")
      message(FATAL_ERROR "cmake/QuillonPkgConfig.cmake does not know ${link}, which ${component} links")
    endif()
  endforeach()
  list(JOIN requires ", " requires)
  _quillon_module_name(${component} module)
  # From the file's own place, so that a tree that was moved or is staged works.
  set(folder "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
  file(RELATIVE_PATH prefix "/${folder}" "/")
  string(REGEX REPLACE "/$" "" prefix "${prefix}")
  file(CONFIGURE OUTPUT "${CMAKE_BINARY_DIR}/pkgconfig/${module}.pc" @ONLY CONTENT
"prefix=\${pcfiledir}/${prefix}
libdir=\${prefix}/@CMAKE_INSTALL_LIBDIR@
includedir=\${prefix}/@CMAKE_INSTALL_INCLUDEDIR@/quillon

Name: @component@
Description: @PROJECT_DESCRIPTION@
Version: @PROJECT_VERSION@
Requires: @requires@
Libs: @flags@
Cflags: -I\${includedir}
")
  install(FILES "${CMAKE_BINARY_DIR}/pkgconfig/${module}.pc" DESTINATION ${folder} COMPONENT development)
endfunction()
