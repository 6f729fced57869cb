# How the installed programs are linked. On Linux they hold all that they need, the C library
# too: a dynamic loader would take longer than most commands do. Not every system has all the
# archives, and those of one release may not fit each other, so a small program that calls what
# these call is linked first. Archives of which the linker warns, as some functions want a shared
# library when they run, will not do.
add_library(qv_linkage INTERFACE)
set(QV_LINKS_STATIC FALSE)
if(NOT CMAKE_SYSTEM_NAME STREQUAL "Linux" OR QV_SANITIZE)
  return()
endif()

if(QV_STATIC)
  include(CheckCXXSourceCompiles)
  set(CMAKE_REQUIRED_LIBRARIES qv_utf8proc qv_sha256 Threads::Threads)
  set(CMAKE_REQUIRED_LINK_OPTIONS -static-pie -Wl,--fatal-warnings)
  check_cxx_source_compiles("
    #include <sha2.h>
    #include <utf8proc.h>
    #include <string>
    #include <thread>
    int main(int count, char** words) {
      char digits[SHA256_DIGEST_STRING_LENGTH];
      std::string text = words[0] + std::to_string(count / 3.0);
      std::thread([&] { text += utf8proc_version(); }).join();
      return SHA256Data(reinterpret_cast<const unsigned char*>(text.data()), text.size(), digits) == nullptr;
    }" QV_STATIC_WORKS)
  unset(CMAKE_REQUIRED_LIBRARIES)
  unset(CMAKE_REQUIRED_LINK_OPTIONS)
  if(NOT QV_STATIC_WORKS)
    message(STATUS "The programs are linked dynamically: not all archives are there and fit")
  endif()
endif()

if(QV_STATIC AND QV_STATIC_WORKS)
  set(QV_LINKS_STATIC TRUE)
  target_link_options(qv_linkage INTERFACE -static-pie)
else()
  target_link_options(qv_linkage INTERFACE -pie)
endif()
