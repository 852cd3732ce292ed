# What every target of ours has in common. Nothing is set globally.

add_library(kalvio_options INTERFACE)
target_compile_features(kalvio_options INTERFACE cxx_std_20 c_std_11)

if(WIN32)
  target_compile_definitions(kalvio_options INTERFACE NOMINMAX WIN32_LEAN_AND_MEAN UNICODE _UNICODE)
endif()

if(MSVC)
  # Headers of others are included in angle brackets, ours in quotation marks: only ours are looked at. /bigobj: a kernel is
  # compiled once for each instruction set, which makes many sections.
  target_compile_options(
    kalvio_options INTERFACE /W4 /utf-8 /permissive- /Zc:__cplusplus /bigobj /external:anglebrackets /external:W0
  )
  # Of /W4, with the reason of each. What else of it applies here, scripts/lib/msvc-lint looks for on Linux.
  target_compile_options(
    kalvio_options
    INTERFACE /wd4324 # padding of an aligned member: the cache line is meant to be filled
              /wd4611 # setjmp beside destructors: libpng and libjpeg have no other errors, and no frame that
                      # longjmp leaves has any (image_png.cpp, image_jpeg.cpp)
              /wd4702 # unreachable code: comes from the code generator, which takes templates of others for ours
              /wd4714 # __forceinline that was not inlined: Highway's
              /wd4752 # AVX in a file without /arch:AVX: the kernels choose by the processor, at run time
  )
  # With debug information the linker keeps what nobody calls, unless told otherwise.
  target_link_options(kalvio_options INTERFACE $<$<CONFIG:RelWithDebInfo>:/OPT:REF> $<$<CONFIG:RelWithDebInfo>:/OPT:ICF>
                                               $<$<CONFIG:RelWithDebInfo>:/INCREMENTAL:NO>
  )
  if(KALVIO_WARNINGS_AS_ERRORS)
    target_compile_options(kalvio_options INTERFACE /WX)
  endif()
else()
  target_compile_options(
    kalvio_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
                             -Wold-style-cast -Woverloaded-virtual -Wundef -Wvla -Wformat=2
  )
  # C has no use for the C++-only warnings and gcc says so.
  set(kalvio_cxx_only -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual)
  get_target_property(kalvio_flags kalvio_options INTERFACE_COMPILE_OPTIONS)
  foreach(flag IN LISTS kalvio_cxx_only)
    list(TRANSFORM kalvio_flags REPLACE "^${flag}$" "$<$<COMPILE_LANGUAGE:CXX>:${flag}>")
  endforeach()
  set_target_properties(kalvio_options PROPERTIES INTERFACE_COMPILE_OPTIONS "${kalvio_flags}")
  # Each extension of the GNU compilers by its own name: MSVC knows none of them.
  target_compile_options(kalvio_options INTERFACE $<$<C_COMPILER_ID:Clang>:-Wgnu>)
  # Of sources that are compiled as one, a local name may be that of another one's constant.
  target_compile_options(kalvio_options INTERFACE "$<$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>:-Wno-shadow>")
  if(KALVIO_WARNINGS_AS_ERRORS)
    target_compile_options(kalvio_options INTERFACE -Werror)
  endif()
endif()

if(MINGW AND NOT KALVIO_BUILD_MODULE)
  # The compiler's own libraries go into each file: nothing has to be found beside it. The module has to share them
  # with Qt.
  target_link_options(kalvio_options INTERFACE -static)
endif()

if(LINUX AND NOT KALVIO_SANITIZE)
  # What Debian builds its packages with, and what tests/packaging/hardening looks for in the files. A sanitizer watches
  # the same places in its own way.
  target_compile_options(
    kalvio_options INTERFACE -fstack-protector-strong -fstack-clash-protection -fcf-protection
                             $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>
  )
  target_link_options(kalvio_options INTERFACE -Wl,-z,relro,-z,now)
endif()

if(KALVIO_SANITIZE)
  target_compile_options(kalvio_options INTERFACE -fsanitize=${KALVIO_SANITIZE} -fno-omit-frame-pointer
                                                  -fno-sanitize-recover=all)
  target_link_options(kalvio_options INTERFACE -fsanitize=${KALVIO_SANITIZE})
endif()
if(KALVIO_SANITIZE MATCHES "address" AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  # The fuzz targets steer by the branches that the product takes.
  target_compile_options(kalvio_options INTERFACE -fsanitize=fuzzer-no-link -fno-sanitize-coverage=trace-cmp)
endif()

if(CMAKE_CXX_CLANG_TIDY)
  # What has been found clean is compiled, and read, again when the rules change.
  set_property(DIRECTORY "${PROJECT_SOURCE_DIR}" APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS .clang-tidy)
  file(SHA256 "${PROJECT_SOURCE_DIR}/.clang-tidy" kalvio_rules)
  target_compile_definitions(kalvio_options INTERFACE KALVIO_RULES_${kalvio_rules})
endif()

if(WIN32)
  # They are not for the compiler of resources.
  get_target_property(kalvio_flags kalvio_options INTERFACE_COMPILE_OPTIONS)
  set_target_properties(
    kalvio_options PROPERTIES INTERFACE_COMPILE_OPTIONS "$<$<NOT:$<COMPILE_LANGUAGE:RC>>:${kalvio_flags}>"
  )
endif()

# kalvio_target(NAME): our language level, warnings and visibility for one target.
function(kalvio_target name)
  target_link_libraries(${name} PRIVATE kalvio_options)
  set_target_properties(
    ${name}
    PROPERTIES C_EXTENSIONS OFF
               CXX_EXTENSIONS OFF
               C_VISIBILITY_PRESET hidden
               CXX_VISIBILITY_PRESET hidden
               VISIBILITY_INLINES_HIDDEN ON
               POSITION_INDEPENDENT_CODE ON
  )
endfunction()

# kalvio_precompile(NAME HEADER...): precompiles headers of libraries for one target, where KALVIO_PRECOMPILE_HEADERS is
# set. No source may need it: the plain build of the product goes without, and shows includes that are missing.
function(kalvio_precompile name)
  if(NOT KALVIO_PRECOMPILE_HEADERS)
    return()
  endif()
  target_precompile_headers(${name} PRIVATE ${ARGN})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # The same headers give the same file, so that ccache knows it again.
    target_compile_options(${name} PRIVATE "$<$<COMPILE_LANGUAGE:CXX>:SHELL:-Xclang -fno-pch-timestamp>")
  elseif(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # So that ccache sees what was included.
    target_compile_options(${name} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-fpch-preprocess>)
  endif()
endfunction()

# kalvio_version_resource(TARGET DESCRIPTION): on Windows, the version in the file's properties.
function(kalvio_version_resource target rc_description)
  if(WIN32)
    set(rc_file "${target}.dll")
    configure_file(
      "${PROJECT_SOURCE_DIR}/packaging/windows/version.rc.in" "${CMAKE_CURRENT_BINARY_DIR}/${target}.rc" @ONLY
    )
    target_sources(${target} PRIVATE "${CMAKE_CURRENT_BINARY_DIR}/${target}.rc")
  endif()
endfunction()
