# The sample with AppKit, as a bundle that CMake makes. Quillon is built with it.
enable_language(OBJCXX)
set(QUILLON_SOURCE_FOLDER "" CACHE PATH "The sources of Quillon")
if(NOT TARGET Quillon::Core)  # built as a part of Quillon, it is there
  if(NOT EXISTS "${QUILLON_SOURCE_FOLDER}/cmake/QuillonEmbedding.cmake")
    message(FATAL_ERROR "Say where Quillon's sources are: -DQUILLON_SOURCE_FOLDER=/path/to/quillon")
  endif()
  add_subdirectory("${QUILLON_SOURCE_FOLDER}" quillon)
endif()

target_sources(SampleHost PRIVATE
  Sources/Apple/RunningBundle.mm
  Sources/Apple/SampleApplication.mm
  Sources/Apple/SampleApplicationDelegate.mm)
target_compile_options(SampleHost PRIVATE $<$<COMPILE_LANGUAGE:OBJCXX>:-fobjc-arc>)
target_link_libraries(SampleHost PRIVATE
  Quillon::InstallerCoordinator Quillon::PresentationAppKit Quillon::SystemLogging)

set_target_properties(SampleHost PROPERTIES
  MACOSX_BUNDLE ON
  MACOSX_BUNDLE_INFO_PLIST "${CMAKE_CURRENT_SOURCE_DIR}/Info.plist.in"
  OUTPUT_NAME Sample)
quillon_embed_updates(SampleHost BUNDLE_IDENTIFIER "${SAMPLE_IDENTIFIER}" NAME Sample)
