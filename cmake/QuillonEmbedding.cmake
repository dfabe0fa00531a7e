# Puts what an application needs to update itself into its bundle, on macOS; for projects that add this one by
# add_subdirectory, and for the example.

# Puts Quillon's texts into the bundle of `application`, in every language. One key begins with the name of the
# application, `name`.
function(_quillon_embed_texts application name)
  file(GLOB tables CONFIGURE_DEPENDS "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/../Resources/Texts/*.lproj/*.strings")
  foreach(table IN LISTS tables)
    cmake_path(GET table PARENT_PATH language)
    cmake_path(GET language FILENAME language)
    cmake_path(GET table FILENAME file)
    file(READ "${table}" texts)
    string(REPLACE "\"" "\\\"" escaped_name "${name}")
    string(REPLACE "Example" "${escaped_name}" texts "${texts}")
    set(embedded "${CMAKE_CURRENT_BINARY_DIR}/${application}.texts/${language}/${file}")
    file(GENERATE OUTPUT "${embedded}" CONTENT "${texts}")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${table}")
    target_sources(${application} PRIVATE "${embedded}")
    set_source_files_properties("${embedded}" PROPERTIES MACOSX_PACKAGE_LOCATION "Resources/${language}")
  endforeach()
endfunction()

# quillon_embed_updates(application BUNDLE_IDENTIFIER identifier [NAME name])
#
# `application` is a MACOSX_BUNDLE target with that bundle identifier. After it is linked, its bundle gets
#   Contents/MacOS/QuillonUpdateInstaller
#   Contents/XPCServices/<identifier>.Quillon.UpdateInstallerLauncherService.xpc
# and with NAME, the application's name for users, the texts of windows and alerts:
#   Contents/Resources/<language>.lproj/QuillonUpdate.strings, Localizable.strings
# An application with a Localizable.strings of its own takes the entries over and leaves NAME out.
# The service has the version of the calling project. They are signed with the bundle, from the inside out; see docs/macos.md.
function(quillon_embed_updates application)
  cmake_parse_arguments(arg "" "BUNDLE_IDENTIFIER;NAME" "" ${ARGN})
  if(NOT arg_BUNDLE_IDENTIFIER)
    message(FATAL_ERROR "quillon_embed_updates: BUNDLE_IDENTIFIER of ${application} is missing")
  endif()
  if(NOT PROJECT_VERSION)
    message(FATAL_ERROR "quillon_embed_updates: the project of ${application} has no VERSION, which the service takes over")
  endif()
  if(arg_NAME)
    _quillon_embed_texts(${application} "${arg_NAME}")
  endif()
  set(QUILLON_SERVICE_IDENTIFIER "${arg_BUNDLE_IDENTIFIER}.Quillon.UpdateInstallerLauncherService")
  set(QUILLON_SERVICE_MINIMUM_SYSTEM 13.0)
  if(CMAKE_OSX_DEPLOYMENT_TARGET)
    set(QUILLON_SERVICE_MINIMUM_SYSTEM "${CMAKE_OSX_DEPLOYMENT_TARGET}")
  endif()
  set(information "${CMAKE_CURRENT_BINARY_DIR}/${QUILLON_SERVICE_IDENTIFIER}.Info.plist")
  configure_file("${CMAKE_CURRENT_FUNCTION_LIST_DIR}/macos/LauncherService.Info.plist.in" "${information}" @ONLY)
  set(contents "$<TARGET_BUNDLE_CONTENT_DIR:${application}>")
  set(service "${contents}/XPCServices/${QUILLON_SERVICE_IDENTIFIER}.xpc/Contents")
  # What is embedded is copied after linking: whatever of it changes, the application is linked again.
  add_dependencies(${application} QuillonUpdateInstaller QuillonUpdateInstallerLauncherService)
  set_property(TARGET ${application} APPEND PROPERTY LINK_DEPENDS
    "$<TARGET_FILE:QuillonUpdateInstaller>" "$<TARGET_FILE:QuillonUpdateInstallerLauncherService>" "${information}")
  add_custom_command(TARGET ${application} POST_BUILD
    COMMAND "${CMAKE_COMMAND}" -E make_directory "${service}/MacOS"
    COMMAND "${CMAKE_COMMAND}" -E copy "$<TARGET_FILE:QuillonUpdateInstaller>" "${contents}/MacOS/"
    COMMAND "${CMAKE_COMMAND}" -E copy "$<TARGET_FILE:QuillonUpdateInstallerLauncherService>" "${service}/MacOS/"
    COMMAND "${CMAKE_COMMAND}" -E copy "${information}" "${service}/Info.plist"
    COMMENT "Embedding the installer and its launcher service in ${application}"
    VERBATIM)
endfunction()
