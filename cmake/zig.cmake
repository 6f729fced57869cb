# Toolchain of the programs for other systems and other C libraries: a Linux machine compiles
# and links them with zig's C++ compiler, which carries the headers and libraries of all of
# them. scripts/check-macos.sh and scripts/release.sh are the ways in. They pass:
#   QV_ZIG          the zig program
#   QV_ZIG_TARGET   what to compile for: aarch64-macos.13.3, x86_64-linux-musl, ...
#   QV_ZIG_ROOT     a folder whose include/ and lib/ hold what packages would add there
# Only that folder is searched for packages, so nothing of the Linux machine gets in.
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QV_ZIG QV_ZIG_TARGET QV_ZIG_ROOT)
set(CMAKE_C_COMPILER ${QV_ZIG} cc -target ${QV_ZIG_TARGET})
set(CMAKE_CXX_COMPILER ${QV_ZIG} c++ -target ${QV_ZIG_TARGET})

string(REGEX MATCH "^[^-]+" CMAKE_SYSTEM_PROCESSOR ${QV_ZIG_TARGET})
if(QV_ZIG_TARGET MATCHES "macos")
  set(CMAKE_SYSTEM_NAME Darwin)
  set(CMAKE_SYSTEM_VERSION 22.4.0)
  set(CMAKE_OSX_SYSROOT "" CACHE STRING "none: zig brings the headers")
  set(CMAKE_OSX_DEPLOYMENT_TARGET "" CACHE STRING "none: it is part of the target's name")
  # CMake insists on this tool for Darwin, and uses it only to install shared libraries.
  set(CMAKE_INSTALL_NAME_TOOL ${QV_ZIG})
else()
  set(CMAKE_SYSTEM_NAME Linux)
  # Programs against musl are static without being told.
  set(QV_STATIC OFF CACHE BOOL "")
endif()

# It precompiles no headers. So here each file has to include what it needs.
set(CMAKE_DISABLE_PRECOMPILE_HEADERS ON)

# Whatever is linked, be it to try a flag, gets libraries of its own, which take minutes to make.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

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

set(CMAKE_CXX_STANDARD_INCLUDE_DIRECTORIES ${QV_ZIG_ROOT}/include)
set(CMAKE_FIND_ROOT_PATH ${QV_ZIG_ROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} ${QV_ZIG_ROOT}/lib/pkgconfig)
set(ENV{PKG_CONFIG_PATH} "")
