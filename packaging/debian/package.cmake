# The Debian package: what CPack's generator DEB takes, and the files that Debian asks for. Its dependencies are those of
# the system on which it is built.

set(KALVIO_MAINTAINER "Kalvio maintainers <maintainers@kalvio.example>" CACHE STRING "Who answers for packages: Name <mail>")

find_program(KALVIO_GZIP gzip)
mark_as_advanced(KALVIO_GZIP)
configure_file(debian/changelog.in debian/changelog @ONLY)
if(KALVIO_GZIP)
  # -n: without the time at which it was packed, which would differ in each build.
  execute_process(
    COMMAND "${KALVIO_GZIP}" -9nkf "${CMAKE_CURRENT_BINARY_DIR}/debian/changelog" COMMAND_ERROR_IS_FATAL ANY
  )
  install(
    FILES "${CMAKE_CURRENT_BINARY_DIR}/debian/changelog.gz" DESTINATION "${KALVIO_SYSTEM_DOC_DIR}" COMPONENT debian
    EXCLUDE_FROM_ALL
  )
endif()
install(
  FILES debian/lintian-overrides DESTINATION "${CMAKE_INSTALL_DATADIR}/lintian/overrides" COMPONENT debian
  EXCLUDE_FROM_ALL RENAME obs-kalvio
)

set(CPACK_PROJECT_CONFIG_FILE "${CMAKE_CURRENT_SOURCE_DIR}/debian/generator.cmake")
set(CPACK_DEBIAN_PACKAGE_NAME obs-kalvio)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${KALVIO_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "${KALVIO_WEB_BASE}")
string(
  CONCAT
  CPACK_DEBIAN_PACKAGE_DESCRIPTION
  "One video filter and a dock: skin smoothing, color filters, chroma key,\n"
  "backgrounds and stickers for a camera or any other source. Whatever goes\n"
  "wrong, the source stays visible, unprocessed."
)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "obs-studio (>= 30)")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${KALVIO_PLUGIN_BIN_DIR}")
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
