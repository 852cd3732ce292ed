# Read by cpack: what differs between the kinds of packages.
if(CPACK_GENERATOR STREQUAL "DEB")
  set(CPACK_COMPONENTS_ALL system debian)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  # The generator strips, and keeps the debug information for a package of its own.
  set(CPACK_STRIP_FILES OFF)
endif()
