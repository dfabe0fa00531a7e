# Toolchain file: compiles and links for macOS on Debian 12 (packages clang-19 lld-19 llvm-19 libc++-19-dev).
#
# QUILLON_MACOS_SDK, a cache or environment variable, names the folder of platform headers and stub libraries; see
# docs/macos.md. QUILLON_MACOS_ARCHITECTURE is arm64 or x86_64.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_VERSION 22)  # the kernel of macOS 13

if(NOT DEFINED QUILLON_MACOS_SDK)
  set(QUILLON_MACOS_SDK "$ENV{QUILLON_MACOS_SDK}")
endif()
set(QUILLON_MACOS_SDK "${QUILLON_MACOS_SDK}" CACHE PATH "Folder of platform headers and stub libraries of macOS")
set(QUILLON_MACOS_ARCHITECTURE arm64 CACHE STRING "Architecture to compile for: arm64 or x86_64")
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QUILLON_MACOS_SDK QUILLON_MACOS_ARCHITECTURE QUILLON_MACOS_SYSTEM_ROOT)
if(NOT QUILLON_MACOS_SDK)
  message(FATAL_ERROR "QUILLON_MACOS_SDK does not say where the platform headers are; docs/macos.md says what it takes.")
endif()

set(CMAKE_SYSTEM_PROCESSOR "${QUILLON_MACOS_ARCHITECTURE}")
set(CMAKE_OSX_ARCHITECTURES "${QUILLON_MACOS_ARCHITECTURE}" CACHE STRING "" FORCE)
set(CMAKE_OSX_DEPLOYMENT_TARGET 13.0 CACHE STRING "" FORCE)

# Once per build folder; compiler checks, which read this file again, use the same one.
if(NOT QUILLON_MACOS_SYSTEM_ROOT)
  set(QUILLON_MACOS_SYSTEM_ROOT "${CMAKE_BINARY_DIR}/system-root" CACHE INTERNAL "Laid out from QUILLON_MACOS_SDK")
  execute_process(COMMAND "${CMAKE_CURRENT_LIST_DIR}/../tools/make_macos_system_root" "${QUILLON_MACOS_SDK}"
                          "${QUILLON_MACOS_SYSTEM_ROOT}"
                  COMMAND_ERROR_IS_FATAL ANY)
endif()
set(CMAKE_OSX_SYSROOT "${QUILLON_MACOS_SYSTEM_ROOT}" CACHE PATH "" FORCE)

set(CMAKE_CXX_COMPILER /usr/bin/clang++-19)
set(CMAKE_OBJCXX_COMPILER /usr/bin/clang++-19)
set(CMAKE_AR /usr/bin/llvm-ar-19 CACHE FILEPATH "" FORCE)
set(CMAKE_RANLIB /usr/bin/llvm-ranlib-19 CACHE FILEPATH "" FORCE)
set(CMAKE_NM /usr/bin/llvm-nm-19 CACHE FILEPATH "" FORCE)
set(CMAKE_STRIP /usr/bin/llvm-strip-19 CACHE FILEPATH "" FORCE)
set(CMAKE_INSTALL_NAME_TOOL /usr/bin/llvm-install-name-tool-19 CACHE FILEPATH "" FORCE)
foreach(language CXX OBJCXX)
  set(CMAKE_${language}_COMPILER_TARGET "${QUILLON_MACOS_ARCHITECTURE}-apple-macos13")
  set(CMAKE_${language}_FLAGS_INIT "-nostdinc++ -isystem ${QUILLON_MACOS_SYSTEM_ROOT}/usr/include/c++/v1")
endforeach()
set(CMAKE_EXE_LINKER_FLAGS_INIT "-fuse-ld=lld")

set(ENV{PKG_CONFIG_LIBDIR} "${QUILLON_MACOS_SYSTEM_ROOT}/usr/lib/pkgconfig")
set(CMAKE_FIND_ROOT_PATH "${QUILLON_MACOS_SYSTEM_ROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
