# The two layouts of an installation, one component each.
#
#   user     the folder that a user puts into the folder "plugins" of his OBS, with the libraries of others that are not on
#            every system; scripts/package makes an archive of it
#   system   below a prefix, where the packages of a Linux system go: cmake --install, scripts/package deb
#
# cmake --install without a component installs the system's layout on Linux and the user's on Windows.

set(KALVIO_USER_FOLDER obs-kalvio)
if(WIN32)
  set(kalvio_layouts user)
  set(kalvio_user_component COMPONENT user)
else()
  set(kalvio_layouts user system)
  set(kalvio_user_component COMPONENT user EXCLUDE_FROM_ALL)
  include(GNUInstallDirs)
  # OBS looks for modules beside its own library: in lib, lib64 or a folder of the architecture, below whatever prefix.
  set(kalvio_lib_dir "${CMAKE_INSTALL_LIBDIR}")
  if(TARGET OBS::libobs)
    get_target_property(location OBS::libobs LOCATION)
    if(location MATCHES "^/usr/(local/)?(lib[^/]*(/[^/]+)?)/libobs\\.so")
      set(kalvio_lib_dir "${CMAKE_MATCH_2}")
    endif()
  endif()
  set(KALVIO_INSTALL_LIBDIR "${kalvio_lib_dir}" CACHE STRING "Folder below the prefix that has OBS's folder of modules")
  mark_as_advanced(KALVIO_INSTALL_LIBDIR)
endif()
set(kalvio_system_component COMPONENT system)

# Folders by what lies in them. The engine has one of its own on a system: OBS takes each library beside the module for
# another module.
set(KALVIO_USER_MODULE_DIR ${KALVIO_USER_FOLDER}/bin/64bit)
set(KALVIO_USER_ENGINE_DIR ${KALVIO_USER_FOLDER}/bin/64bit)
set(KALVIO_USER_DATA_DIR ${KALVIO_USER_FOLDER}/data)
set(KALVIO_USER_DOC_DIR ${KALVIO_USER_FOLDER}/licenses)
set(KALVIO_SYSTEM_MODULE_DIR "${KALVIO_INSTALL_LIBDIR}/obs-plugins")
set(KALVIO_SYSTEM_ENGINE_DIR "${KALVIO_INSTALL_LIBDIR}/obs-kalvio")
set(KALVIO_SYSTEM_DATA_DIR "${CMAKE_INSTALL_DATADIR}/obs/obs-plugins/obs-kalvio")
set(KALVIO_SYSTEM_DOC_DIR "${CMAKE_INSTALL_DATADIR}/doc/obs-kalvio")

# kalvio_install(WHERE TARGET target | FILES file... | DIRECTORY folder): in both layouts; WHERE is MODULE, ENGINE or DATA.
function(kalvio_install where kind)
  foreach(layout IN LISTS kalvio_layouts)
    string(TOUPPER "KALVIO_${layout}_${where}_DIR" folder)
    set(destination DESTINATION "${${folder}}" ${kalvio_${layout}_component})
    if(kind STREQUAL TARGET)
      install(TARGETS ${ARGN} LIBRARY ${destination} RUNTIME ${destination})
    else()
      install(${kind} ${ARGN} ${destination})
    endif()
  endforeach()
endfunction()
