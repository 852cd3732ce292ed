# The engine's benchmark beside other libraries; built where all of these are.
if(NOT TARGET kalvio_core OR NOT TARGET kalvio_heap_probe)
  return()
endif()
find_package(OpenCV 4 QUIET COMPONENTS core imgproc ximgproc)
find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
  pkg_check_modules(avfilter QUIET IMPORTED_TARGET libavfilter libavutil)
  pkg_check_modules(vips QUIET IMPORTED_TARGET vips)
  pkg_check_modules(opencolorio QUIET IMPORTED_TARGET OpenColorIO>=2) # not packaged everywhere
endif()
if(NOT OpenCV_FOUND OR NOT avfilter_FOUND OR NOT vips_FOUND)
  message(STATUS "bench_engine is left out: it needs libopencv-contrib-dev, libavfilter-dev and libvips-dev")
  return()
endif()

add_executable(
  bench_engine
  engine_bench.cpp
  engine_contest.cpp
  engine_costs.cpp
  engine_peers_ffmpeg.cpp
  engine_peers_opencv.cpp
  engine_peers_plain.cpp
  engine_peers_vips.cpp
  engine_report.cpp
  engine_subject.cpp
  engine_timing.cpp
)
kalvio_target(bench_engine)
# A loop at its best: all that the compiler can do for this machine.
set_source_files_properties(engine_peers_plain.cpp PROPERTIES COMPILE_OPTIONS "-O3;-march=native")
target_link_libraries(
  bench_engine
  PRIVATE kalvio_core
          kalvio_heap_probe
          PkgConfig::avfilter
          PkgConfig::vips
          opencv_core
          opencv_imgproc
          opencv_ximgproc
)
if(opencolorio_FOUND)
  target_sources(bench_engine PRIVATE engine_peers_opencolorio.cpp)
  target_link_libraries(bench_engine PRIVATE PkgConfig::opencolorio)
else()
  target_sources(bench_engine PRIVATE engine_peers_no_opencolorio.cpp)
endif()
target_compile_definitions(bench_engine PRIVATE KALVIO_DATA_DIR="${KALVIO_PLUGIN_DATA_DIR}")
add_dependencies(bench_engine kalvio_data)
