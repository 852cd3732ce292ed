# Builds the module for Windows with another engine library behind the boundary, installs it, and holds what is installed to
# what that engine needs: its DLL beside the module and all data that is not the open engine's own.
#
#   cmake -DSOURCE=... -DBUILD=... -DENGINE=import library -DDLL=... -DTOOLCHAIN=... -DOBJDUMP=... -P other_engine.cmake
execute_process(
  COMMAND
    "${CMAKE_COMMAND}" -G Ninja -S "${SOURCE}" -B "${BUILD}" "-DKALVIO_ENGINE_LIBRARY=${ENGINE}" "-DKALVIO_ENGINE_DLL=${DLL}"
    "-DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}" "-DQT_HOST_PATH=${QT_HOST}" "-DQT_HOST_PATH_CMAKE_DIR=${QT_HOST_CMAKE}"
    -DCMAKE_BUILD_TYPE=Release -DKALVIO_BUILD_TESTS=OFF -DKALVIO_BUILD_BENCH=OFF -DKALVIO_PRECOMPILE_HEADERS=ON
    -DCMAKE_UNITY_BUILD=ON
  COMMAND_ERROR_IS_FATAL ANY
)
execute_process(COMMAND "${CMAKE_COMMAND}" --build "${BUILD}" COMMAND_ERROR_IS_FATAL ANY)
file(REMOVE_RECURSE "${BUILD}/installed")
execute_process(
  COMMAND "${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${BUILD}/installed" COMMAND_ERROR_IS_FATAL ANY
)

# Everything of the open engine's package but its library, what is in its own format, what is drawn with it, and the
# licenses of what is compiled into it.
file(STRINGS "${CMAKE_CURRENT_LIST_DIR}/../packaging/files_windows.txt" expected)
list(FILTER expected EXCLUDE REGEX "/kalvio\\.dll$|\\.kld$|/MODELS-LICENSE|/previews/|/licenses/")
list(APPEND expected obs-kalvio/bin/64bit/stand_in_engine.dll)
file(GLOB_RECURSE found LIST_DIRECTORIES false RELATIVE "${BUILD}/installed" "${BUILD}/installed/*")
list(FILTER found EXCLUDE REGEX "/licenses/")
include("${CMAKE_CURRENT_LIST_DIR}/../packaging/compare_files.cmake")
compare_files("installed with another engine")

execute_process(
  COMMAND "${OBJDUMP}" -p "${BUILD}/installed/obs-kalvio/bin/64bit/obs-kalvio.dll" OUTPUT_VARIABLE tables
                                                                                   COMMAND_ERROR_IS_FATAL ANY
)
if(NOT tables MATCHES "DLL Name: stand_in_engine\\.dll" OR tables MATCHES "DLL Name: kalvio\\.dll")
  message(FATAL_ERROR "The module does not ask for the other engine")
endif()

# Of such an engine's data the module looks for this one file.
file(WRITE "${BUILD}/installed/obs-kalvio/data/resource.kld" "x")
