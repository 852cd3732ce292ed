# Another library of the same shape behind the boundary, for example a closed one: KALVIO_ENGINE_LIBRARY. It ships beside
# the module. On Windows that is an import library, and KALVIO_ENGINE_DLL its DLL.
add_library(kalvio SHARED IMPORTED GLOBAL)
target_include_directories(kalvio INTERFACE include)

set(shipped "${KALVIO_ENGINE_LIBRARY}")
if(WIN32)
  get_filename_component(folder "${KALVIO_ENGINE_LIBRARY}" DIRECTORY)
  get_filename_component(stem "${KALVIO_ENGINE_LIBRARY}" NAME)
  string(REGEX REPLACE "^lib(.*)\\.dll\\.a$|\\.lib$" "\\1" stem "${stem}")
  set(KALVIO_ENGINE_DLL "${folder}/${stem}.dll" CACHE FILEPATH "DLL of KALVIO_ENGINE_LIBRARY")
  set(shipped "${KALVIO_ENGINE_DLL}")
  set_target_properties(kalvio PROPERTIES IMPORTED_IMPLIB "${KALVIO_ENGINE_LIBRARY}")
endif()
if(NOT EXISTS "${shipped}" OR NOT EXISTS "${KALVIO_ENGINE_LIBRARY}")
  message(FATAL_ERROR "The engine library does not exist: ${KALVIO_ENGINE_LIBRARY}, which ships as ${shipped}")
endif()
set_target_properties(kalvio PROPERTIES IMPORTED_LOCATION "${shipped}")

get_filename_component(name "${shipped}" NAME)
configure_file("${shipped}" "${KALVIO_PLUGIN_BIN_DIR}/${name}" COPYONLY)
kalvio_install(ENGINE FILES "${shipped}")
set(KALVIO_ENGINE_FILE_NAME "${name}" PARENT_SCOPE) # by which the module asks for calls that an engine need not have
