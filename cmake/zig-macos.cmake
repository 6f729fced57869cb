# Toolchain of the cross-check: a Linux machine compiles and links the program for
# arm64 macOS with zig's C++ compiler, which carries the system's headers and stubs.
# scripts/check-macos.sh is the way in. It passes two paths:
#   QV_ZIG          the zig program
#   QV_MACOS_ROOT   a folder whose include/ and lib/ hold what macOS and Homebrew would add
# Only that folder is searched for packages, so nothing of the Linux machine gets in.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_VERSION 22.4.0)
set(CMAKE_SYSTEM_PROCESSOR arm64)
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QV_ZIG QV_MACOS_ROOT)

# macOS 13.3 is the first system whose C++ runtime has std::to_chars for double.
set(zig_target -target aarch64-macos.13.3)
set(CMAKE_C_COMPILER ${QV_ZIG} cc ${zig_target})
set(CMAKE_CXX_COMPILER ${QV_ZIG} c++ ${zig_target})
set(CMAKE_OSX_SYSROOT "" CACHE STRING "none: zig brings the headers")
set(CMAKE_OSX_DEPLOYMENT_TARGET "" CACHE STRING "none: it is part of the target's name")

# zig refuses the linker option with which CMake would find this out.
set(CMAKE_C_ABI_COMPILED TRUE)
set(CMAKE_CXX_ABI_COMPILED TRUE)
set(CMAKE_SIZEOF_VOID_P 8)

# zig's archiver is a subcommand, so the rules are spelled out here.
foreach(language C CXX)
  set(CMAKE_${language}_ARCHIVE_CREATE "\"${QV_ZIG}\" ar qc <TARGET> <OBJECTS>")
  set(CMAKE_${language}_ARCHIVE_APPEND "\"${QV_ZIG}\" ar q <TARGET> <OBJECTS>")
  set(CMAKE_${language}_ARCHIVE_FINISH "\"${QV_ZIG}\" ranlib <TARGET>")
endforeach()

# CMake insists on this tool for Darwin, and uses it only to install shared libraries.
set(CMAKE_INSTALL_NAME_TOOL ${QV_ZIG})

set(CMAKE_CXX_STANDARD_INCLUDE_DIRECTORIES ${QV_MACOS_ROOT}/include)
set(CMAKE_FIND_ROOT_PATH ${QV_MACOS_ROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
