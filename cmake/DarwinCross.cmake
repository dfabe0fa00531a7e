# Toolchain file: compiles what takes no frameworks for macOS on Debian 12, and links it, with a compiler that brings the C
# headers and stub libraries along (tools/install_darwin_compiler; package libc++-19-dev). QUILLON_MACOS_ARCHITECTURE is
# arm64 or x86_64.
execute_process(COMMAND "${CMAKE_CURRENT_LIST_DIR}/../tools/install_darwin_compiler" --installed
                OUTPUT_VARIABLE compiler OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "The compiler for macOS is missing; tools/install_darwin_compiler installs it.")
endif()
set(QUILLON_MACOS_SDK "${compiler}/headers")
include("${CMAKE_CURRENT_LIST_DIR}/MacOSCross.cmake")
set(QUILLON_WITHOUT_FRAMEWORKS ON)

set(CMAKE_CXX_COMPILER "${compiler}/bin/clang++")
set(CMAKE_AR "${compiler}/bin/ar" CACHE FILEPATH "" FORCE)
set(CMAKE_RANLIB "${compiler}/bin/ranlib" CACHE FILEPATH "" FORCE)
# After the C++ headers: the compiler's own, which it does not find itself. After all others: what the package lacks.
# A header of libc++ includes no others for convenience: that takes less time, and finds what a file forgot to include.
string(APPEND CMAKE_CXX_FLAGS_INIT " -isystem ${compiler}/zig/lib/include -idirafter ${CMAKE_CURRENT_LIST_DIR}/macos/include"
                                   " -D_LIBCPP_REMOVE_TRANSITIVE_INCLUDES")

# The package's driver builds a runtime library once, knows libSystem itself, and leaves no undefined symbol to dynamic
# look-up. It would link a C++ library of its own instead of the system's.
set(triple_arm64 aarch64-macos.13.0)
set(triple_x86_64 x86_64-macos.13.0)
set(CMAKE_EXE_LINKER_FLAGS_INIT "")
set(CMAKE_CXX_LINK_EXECUTABLE
  "\"${CMAKE_COMMAND}\" -E env ZIG_GLOBAL_CACHE_DIR=${CMAKE_BINARY_DIR}/linker-cache \"${compiler}/zig/zig\" c++ -target ${triple_${QUILLON_MACOS_ARCHITECTURE}} -nostdlib++ <OBJECTS> -o <TARGET> <LINK_LIBRARIES> \"${QUILLON_MACOS_SYSTEM_ROOT}/usr/lib/libc++.tbd\"")
