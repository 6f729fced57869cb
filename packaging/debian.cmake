# What Debian wants of a package's files besides: pages and change logs compressed. Run by cpack
# when everything is in place.
set(share ${CPACK_TEMPORARY_DIRECTORY}/usr/share)
set(documents ${share}/doc/${CPACK_PACKAGE_NAME})

string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(WRITE ${documents}/changelog.Debian
"${CPACK_PACKAGE_NAME} (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium

  * Version ${CPACK_PACKAGE_VERSION}; the other change log says what is new in it.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
file(COPY_FILE ${CMAKE_CURRENT_LIST_DIR}/../CHANGELOG.md ${documents}/changelog)
file(GLOB pages ${share}/man/*/*)
execute_process(
  COMMAND gzip --no-name --best ${documents}/changelog ${documents}/changelog.Debian ${pages}
  COMMAND_ERROR_IS_FATAL ANY)
