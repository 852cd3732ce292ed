# Whether the build can be configured without the nets, says so, and then makes a bundle without them. With them, whether
# they are in it.
#
#   cmake -DSOURCE=root -DBUILD=scratch -DMODELS=folder -DNINJA=program [-DOPTIONS=...] -P no_nets.cmake

unset(ENV{KALVIO_MODELS})
separate_arguments(options UNIX_COMMAND "${OPTIONS}")

# configure(MODELS WARNING COMMANDS): what CMake says, and the commands that then make the data.
function(configure models warning commands)
  execute_process(
    COMMAND "${CMAKE_COMMAND}" -S "${SOURCE}" -B "${BUILD}" -G Ninja -DKALVIO_BUILD_MODULE=OFF -DKALVIO_BUILD_TESTS=OFF
            -DKALVIO_BUILD_BENCH=OFF "-DKALVIO_MODELS=${models}" ${options}
    OUTPUT_VARIABLE output ERROR_VARIABLE said COMMAND_ERROR_IS_FATAL ANY
  )
  string(REGEX REPLACE "[ \n]+" " " said "${said}")
  execute_process(COMMAND "${NINJA}" -C "${BUILD}" -t commands kalvio_data OUTPUT_VARIABLE made COMMAND_ERROR_IS_FATAL ANY)
  set(${warning} "${said}" PARENT_SCOPE)
  set(${commands} "${made}" PARENT_SCOPE)
endfunction()

set(license "${BUILD}/plugins/obs-kalvio/data/MODELS-LICENSE.txt")
file(REMOVE_RECURSE "${BUILD}")
foreach(models IN ITEMS "" "${SOURCE}/docs")
  configure("${models}" said commands)
  if(NOT said MATCHES "No nets" OR NOT said MATCHES "scripts/nets")
    message(FATAL_ERROR "With KALVIO_MODELS=${models} nothing names the step that is missing: ${said}")
  endif()
  if(commands MATCHES "kld-nets" OR NOT commands MATCHES "resource\\.kld" OR EXISTS "${license}")
    message(FATAL_ERROR "With KALVIO_MODELS=${models} there is no bundle, or something of nets that are not there")
  endif()
endforeach()

configure("${MODELS}" said commands)
if(said MATCHES "No nets" OR NOT commands MATCHES "kld-nets" OR NOT EXISTS "${license}")
  message(FATAL_ERROR "The nets in ${MODELS} are not taken: ${said}")
endif()
file(READ "${license}" text)
if(NOT text MATCHES "Copyright The MediaPipe Authors" OR NOT text MATCHES "Version 2.0, January 2004")
  message(FATAL_ERROR "The notice or the license of the nets is missing")
endif()
