# A mistake in handling what came over a socket or out of a file should end the program
# rather than be of use to somebody. macOS brings the linker's part of this by itself.
target_compile_definitions(qv_options INTERFACE
  _GLIBCXX_ASSERTIONS _LIBCPP_HARDENING_MODE=_LIBCPP_HARDENING_MODE_FAST)
# libc++ 17 has a name of its own for it, which later ones refuse.
check_cxx_symbol_exists(_LIBCPP_ENABLE_HARDENED_MODE version QV_HAS_LIBCXX_17)
if(QV_HAS_LIBCXX_17)
  target_compile_definitions(qv_options INTERFACE _LIBCPP_ENABLE_HARDENED_MODE=1)
endif()

# libc checks its callers only in optimised builds. Some compilers set the level themselves,
# so it is taken back first.
target_compile_options(qv_options INTERFACE
  "$<$<NOT:$<CONFIG:Debug>>:SHELL:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3>")

set(hardening -fstack-protector-strong)
if(NOT CMAKE_SYSTEM_NAME STREQUAL "Darwin")
  list(APPEND hardening -fstack-clash-protection -fcf-protection=full -mbranch-protection=standard -fPIE)
  target_link_options(qv_options INTERFACE -Wl,-z,relro -Wl,-z,now)
endif()
set(CMAKE_REQUIRED_FLAGS -Werror)  # some compilers only warn of a flag that they do not know
foreach(flag IN LISTS hardening)
  string(MAKE_C_IDENTIFIER "QV_HAS${flag}" known)
  check_cxx_compiler_flag(${flag} ${known})
  if(${known})
    target_compile_options(qv_options INTERFACE ${flag})
  endif()
endforeach()
unset(CMAKE_REQUIRED_FLAGS)
