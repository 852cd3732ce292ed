# Installs the system's layout below a scratch prefix and compares it with the list of the user's archive: the same files,
# each where a system has its kind, without the libraries that a system has packages of. The module must find its engine.
#
#   cmake -DBUILD=folder -DLIBDIR=lib/... -DLIST=files.txt -DFOLDER=scratch -P system_files.cmake

file(REMOVE_RECURSE "${FOLDER}")
execute_process(
  COMMAND "${CMAKE_COMMAND}" --install "${BUILD}" --component system --prefix "${FOLDER}" OUTPUT_QUIET
  COMMAND_ERROR_IS_FATAL ANY
)
file(GLOB_RECURSE found LIST_DIRECTORIES false RELATIVE "${FOLDER}" "${FOLDER}/*")

file(STRINGS "${LIST}" expected)
list(FILTER expected EXCLUDE REGEX "\\.so\\.N$|/licenses/")
list(TRANSFORM expected REPLACE "^obs-kalvio/bin/64bit/obs-kalvio" "${LIBDIR}/obs-plugins/obs-kalvio")
list(TRANSFORM expected REPLACE "^obs-kalvio/bin/64bit/" "${LIBDIR}/obs-kalvio/")
list(TRANSFORM expected REPLACE "^obs-kalvio/data/" "share/obs/obs-plugins/obs-kalvio/")
list(APPEND expected share/doc/obs-kalvio/copyright)

include("${CMAKE_CURRENT_LIST_DIR}/compare_files.cmake")
compare_files("in the system")

execute_process(
  COMMAND ldd "${FOLDER}/${LIBDIR}/obs-plugins/obs-kalvio.so" OUTPUT_VARIABLE libraries COMMAND_ERROR_IS_FATAL ANY
)
if(NOT libraries MATCHES "libkalvio\\.so => [^\n]*/obs-kalvio/libkalvio\\.so")
  string(REGEX MATCH "[^\n]*libkalvio[^\n]*" engine "${libraries}")
  message(FATAL_ERROR "The module does not find its engine:${engine}")
endif()
