# The engine's benchmark beside other libraries; built where all of these are.
if(NOT TARGET kalvio_core)
  return()
endif()
find_package(OpenCV 4 QUIET COMPONENTS core imgproc ximgproc)
find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
  pkg_check_modules(avfilter QUIET IMPORTED_TARGET libavfilter libavutil)
  pkg_check_modules(vips QUIET IMPORTED_TARGET vips)
endif()
if(NOT OpenCV_FOUND OR NOT avfilter_FOUND OR NOT vips_FOUND)
  message(STATUS "bench_engine is left out: it needs libopencv-dev, libavfilter-dev and libvips-dev")
  return()
endif()

add_executable(
  bench_engine engine_bench.cpp engine_peers_ffmpeg.cpp engine_peers_opencv.cpp engine_peers_vips.cpp
)
kalvio_target(bench_engine)
target_link_libraries(bench_engine PRIVATE kalvio_core PkgConfig::avfilter PkgConfig::vips opencv_core opencv_imgproc opencv_ximgproc)
add_dependencies(bench_engine kalvio_data)
