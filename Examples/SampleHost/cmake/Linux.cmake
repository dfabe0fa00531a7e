# The sample with GTK. `make_bundle` puts its bundle together.
if(NOT TARGET Quillon::Core)  # built as a part of Quillon, it is there
  find_package(Quillon 0.1 REQUIRED)
endif()
find_package(PkgConfig REQUIRED)
pkg_check_modules(GTKMM REQUIRED IMPORTED_TARGET gtkmm-4.0)

target_sources(SampleHost PRIVATE
  Sources/Linux/RunningBundle.cpp
  Sources/Linux/SampleApplication.cpp
  Sources/Linux/SampleWindow.cpp)
target_link_libraries(SampleHost PRIVATE
  Quillon::InstallerCoordinator Quillon::PresentationGTK Quillon::SystemLogging PkgConfig::GTKMM)

if(PROJECT_IS_TOP_LEVEL)
  set(bundle "${CMAKE_CURRENT_BINARY_DIR}/Sample.app")
  add_custom_command(TARGET SampleHost POST_BUILD
    COMMAND "${CMAKE_COMMAND}" -E rm -rf "${bundle}"
    COMMAND "${CMAKE_CURRENT_SOURCE_DIR}/make_bundle"
            --identifier "${SAMPLE_IDENTIFIER}" --version "${PROJECT_VERSION}" --build "${SAMPLE_BUILD}"
            --feed "${SAMPLE_FEED_URL}" --page "${SAMPLE_PAGE_URL}" --team "${SAMPLE_TEAM}"
            --resources "${CMAKE_CURRENT_SOURCE_DIR}/Resources"
            --programs "${Quillon_PROGRAMS_FOLDER}" --texts "${Quillon_TEXTS_FOLDER}"
            "$<TARGET_FILE:SampleHost>" "${bundle}"
    VERBATIM)
endif()
