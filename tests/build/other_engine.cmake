# Builds the module with another engine library behind the boundary, as a publisher of a closed engine does:
#   cmake -DSOURCE=... -DBUILD=... -DENGINE=... -DOPTIONS=... -P other_engine.cmake
separate_arguments(OPTIONS)
execute_process(
  COMMAND "${CMAKE_COMMAND}" -G Ninja -S "${SOURCE}" -B "${BUILD}" "-DKALVIO_ENGINE_LIBRARY=${ENGINE}"
          -DCMAKE_BUILD_TYPE=Debug -DKALVIO_BUILD_TESTS=OFF -DKALVIO_BUILD_BENCH=OFF
          -DKALVIO_PRECOMPILE_HEADERS=ON -DCMAKE_UNITY_BUILD=ON ${OPTIONS}
  COMMAND_ERROR_IS_FATAL ANY
)
execute_process(COMMAND "${CMAKE_COMMAND}" --build "${BUILD}" --target obs-kalvio COMMAND_ERROR_IS_FATAL ANY)
