# Install and export rules of every component and command, in two parts: the commands, and what developing takes.
include(CMakePackageConfigHelpers)
include(QuillonPkgConfig)

get_property(components GLOBAL PROPERTY QUILLON_COMPONENTS)
get_property(commands GLOBAL PROPERTY QUILLON_COMMANDS)

foreach(component ${components})
  quillon_install_pkg_config(${component})
endforeach()

# In a file of its own, because a package that was built with it is also for consumers without a toolkit.
if(TARGET QuillonPresentationGTK)
  list(REMOVE_ITEM components QuillonPresentationGTK)
  install(TARGETS QuillonPresentationGTK
    EXPORT QuillonGTKTargets
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/quillon COMPONENT development
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/quillon)
  install(EXPORT QuillonGTKTargets NAMESPACE Quillon:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Quillon
    COMPONENT development)
endif()

install(TARGETS ${components}
  EXPORT QuillonTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/quillon COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/quillon)
install(TARGETS ${commands} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT commands)
install(EXPORT QuillonTargets NAMESPACE Quillon:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Quillon
  COMPONENT development)

# Tables of texts, which hosts copy into their bundles.
set(QUILLON_INSTALL_TEXTS_FOLDER "${CMAKE_INSTALL_DATADIR}/quillon/texts")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/Resources/Texts/" DESTINATION ${QUILLON_INSTALL_TEXTS_FOLDER}
  COMPONENT development)
# An application to begin with.
install(DIRECTORY "${PROJECT_SOURCE_DIR}/Examples/SampleHost" DESTINATION ${CMAKE_INSTALL_DATADIR}/quillon/examples
  COMPONENT development USE_SOURCE_PERMISSIONS)
# The commands, of which a host's bundle holds copies.
set(QUILLON_INSTALL_PROGRAMS_FOLDER "${CMAKE_INSTALL_BINDIR}")

configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/QuillonConfig.cmake.in"
  "${CMAKE_BINARY_DIR}/QuillonConfig.cmake"
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Quillon
  PATH_VARS QUILLON_INSTALL_TEXTS_FOLDER QUILLON_INSTALL_PROGRAMS_FOLDER)
write_basic_package_version_file("${CMAKE_BINARY_DIR}/QuillonConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${CMAKE_BINARY_DIR}/QuillonConfig.cmake" "${CMAKE_BINARY_DIR}/QuillonConfigVersion.cmake"
  "${PROJECT_SOURCE_DIR}/cmake/FindIPSecMB.cmake" "${PROJECT_SOURCE_DIR}/cmake/QuillonUTF8Proc.cmake"
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Quillon COMPONENT development)

file(GLOB manual_pages CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/docs/man/*.1")
install(FILES ${manual_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT commands)
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
