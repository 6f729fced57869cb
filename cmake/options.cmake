# Compiler and linker flags, gathered in one interface target that every target links.
# Designated initialisers name what matters and leave the rest at its default, so that one
# warning is off.
include(CheckCXXCompilerFlag)
include(CheckCXXSymbolExists)

add_library(qv_options INTERFACE)
target_include_directories(qv_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_compile_definitions(qv_options INTERFACE QV_VERSION="${PROJECT_VERSION}")
target_compile_options(qv_options INTERFACE
  -Wall -Wextra -Wpedantic -Wno-missing-field-initializers -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
  -ffunction-sections -fdata-sections)

if(QV_WERROR)
  target_compile_options(qv_options INTERFACE -Werror)
endif()

if(QV_SANITIZE)
  target_compile_options(qv_options INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(qv_options INTERFACE -fsanitize=address,undefined)
else()
  include(cmake/hardening.cmake)
endif()

if(QV_FUZZ)
  # To trace comparisons as well would take two thirds of the time, and of calls nothing is learned.
  target_compile_options(qv_options INTERFACE
    -fsanitize=fuzzer-no-link -fno-sanitize-coverage=trace-cmp,indirect-calls)
endif()

if(QV_LTO)
  include(CheckIPOSupported)
  check_ipo_supported(RESULT QV_LTO_WORKS OUTPUT QV_LTO_WHY)
  if(QV_LTO_WORKS)
    set(CMAKE_INTERPROCEDURAL_OPTIMIZATION ON)
  else()
    message(STATUS "link-time optimisation is off: ${QV_LTO_WHY}")
  endif()
endif()

# Start-up is the product's speed: on Linux the C++ runtime goes into the program even when the
# rest does not, and what nothing calls is left out.
check_cxx_symbol_exists(_LIBCPP_VERSION version QV_HAS_LIBCXX)
if(CMAKE_SYSTEM_NAME STREQUAL "Darwin")
  target_link_options(qv_options INTERFACE -Wl,-dead_strip)
else()
  target_link_options(qv_options INTERFACE -Wl,--gc-sections -Wl,--as-needed)
  if(QV_STATIC AND NOT QV_SANITIZE AND NOT QV_LINKS_STATIC)
    target_link_options(qv_options INTERFACE -static-libstdc++ -static-libgcc)
    if(NOT QV_HAS_LIBCXX)
      # Named here, so that the runtime finds what it needs of libm in the archive and the
      # shared libm, which nothing else needs, stays out. Debian 12's archive has functions
      # that do not link so, std::ceil among them; the programs do without.
      target_link_libraries(qv_options INTERFACE -l:libstdc++.a -l:libm.a)
    endif()
  endif()
endif()
