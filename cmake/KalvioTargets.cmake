# What every target of ours has in common. Nothing is set globally.

add_library(kalvio_options INTERFACE)
target_compile_features(kalvio_options INTERFACE cxx_std_20 c_std_11)

if(WIN32)
  target_compile_definitions(kalvio_options INTERFACE NOMINMAX WIN32_LEAN_AND_MEAN UNICODE _UNICODE)
endif()

if(MSVC)
  target_compile_options(kalvio_options INTERFACE /W4 /utf-8 /permissive- /Zc:__cplusplus)
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
  if(KALVIO_WARNINGS_AS_ERRORS)
    target_compile_options(kalvio_options INTERFACE -Werror)
  endif()
endif()

if(MINGW AND NOT KALVIO_BUILD_MODULE)
  # The compiler's own libraries go into each file: nothing has to be found beside it. The module has to share them
  # with Qt.
  target_link_options(kalvio_options INTERFACE -static)
endif()

if(KALVIO_SANITIZE)
  target_compile_options(kalvio_options INTERFACE -fsanitize=${KALVIO_SANITIZE} -fno-omit-frame-pointer
                                                  -fno-sanitize-recover=all)
  target_link_options(kalvio_options INTERFACE -fsanitize=${KALVIO_SANITIZE})
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
