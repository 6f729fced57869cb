# Boost.JSON is compiled from its headers in one file of src/base, so only the headers
# are looked for; utf8proc and libmd are linked statically where an archive exists.
if(POLICY CMP0167)
  cmake_policy(SET CMP0167 OLD)  # the finding by headers serves every version alike
endif()
find_package(Boost 1.75 REQUIRED)
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)

# qv_static_library(TARGET MODULE): an imported target for the pkg-config module,
# preferring its static archive.
function(qv_static_library target module)
  pkg_check_modules(${module} REQUIRED ${module})
  find_library(${module}_ARCHIVE NAMES ${module}.a HINTS ${${module}_LIBRARY_DIRS} ${${module}_LIBDIR})
  add_library(${target} INTERFACE IMPORTED GLOBAL)
  target_include_directories(${target} SYSTEM INTERFACE ${${module}_INCLUDE_DIRS})
  if(QV_STATIC AND ${module}_ARCHIVE)
    target_link_libraries(${target} INTERFACE ${${module}_ARCHIVE})
  else()
    target_link_libraries(${target} INTERFACE ${${module}_LINK_LIBRARIES})
  endif()
endfunction()

qv_static_library(qv_utf8proc libutf8proc)

# SHA-256: CommonCrypto is part of macOS, libmd stands in for it on Linux.
add_library(qv_sha256 INTERFACE IMPORTED GLOBAL)
if(NOT CMAKE_SYSTEM_NAME STREQUAL "Darwin")
  qv_static_library(qv_libmd libmd)
  target_link_libraries(qv_sha256 INTERFACE qv_libmd)
endif()

add_library(qv_boost INTERFACE)
target_include_directories(qv_boost SYSTEM INTERFACE ${Boost_INCLUDE_DIRS})
