# A Debian package of what is installed: `cpack` in a build with the preset `deb`, for which
# scripts/package.sh is the way in. It names the dependencies that the programs are linked with.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME qv)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/debian.cmake)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 0quorvel1)  # below that of any package of Debian's own
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "terminal side of the Quorvel desktop app")
set(CPACK_PACKAGE_DESCRIPTION "\
What runs in the panes of Quorvel, agents and people alike, can reach its task
board, its notes and its vault with qv, and wait with it for the board to
move.
.
Builds that are run through qv share the machine: they queue when memory or
cores are short, and the same build asked for twice runs once.
.
A practice app, qv-sandbox, lets all of it be tried without the desktop app.")
include(CPack)
