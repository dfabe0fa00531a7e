# Puts what an application needs to update itself into its bundle, on macOS; for projects that add this one by
# add_subdirectory, and for the example.

set(_QUILLON_SERVICE_INFORMATION "${CMAKE_CURRENT_LIST_DIR}/macos/LauncherService.Info.plist.in")

# quillon_embed_updates(application BUNDLE_IDENTIFIER identifier)
#
# `application` is a MACOSX_BUNDLE target with that bundle identifier. After it is linked, its bundle gets
#   Contents/MacOS/QuillonUpdateInstaller
#   Contents/XPCServices/<identifier>.Quillon.UpdateInstallerLauncherService.xpc
# The service has the version of the calling project. They are signed with the bundle, from the inside out; see docs/macos.md.
function(quillon_embed_updates application)
  cmake_parse_arguments(arg "" "BUNDLE_IDENTIFIER" "" ${ARGN})
  if(NOT arg_BUNDLE_IDENTIFIER)
    message(FATAL_ERROR "quillon_embed_updates: BUNDLE_IDENTIFIER of ${application} is missing")
  endif()
  set(QUILLON_SERVICE_IDENTIFIER "${arg_BUNDLE_IDENTIFIER}.Quillon.UpdateInstallerLauncherService")
  set(information "${CMAKE_CURRENT_BINARY_DIR}/${QUILLON_SERVICE_IDENTIFIER}.Info.plist")
  configure_file("${_QUILLON_SERVICE_INFORMATION}" "${information}" @ONLY)
  set(contents "$<TARGET_BUNDLE_CONTENT_DIR:${application}>")
  set(service "${contents}/XPCServices/${QUILLON_SERVICE_IDENTIFIER}.xpc/Contents")
  add_dependencies(${application} QuillonUpdateInstaller QuillonUpdateInstallerLauncherService)
  add_custom_command(TARGET ${application} POST_BUILD
    COMMAND "${CMAKE_COMMAND}" -E make_directory "${service}/MacOS"
    COMMAND "${CMAKE_COMMAND}" -E copy "$<TARGET_FILE:QuillonUpdateInstaller>" "${contents}/MacOS/"
    COMMAND "${CMAKE_COMMAND}" -E copy "$<TARGET_FILE:QuillonUpdateInstallerLauncherService>" "${service}/MacOS/"
    COMMAND "${CMAKE_COMMAND}" -E copy "${information}" "${service}/Info.plist"
    COMMENT "Embedding the installer and its launcher service in ${application}"
    VERBATIM)
endfunction()
