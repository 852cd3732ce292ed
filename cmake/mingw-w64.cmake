# Cross-building for 64-bit Windows with Debian's MinGW-w64: the tests run under Wine. A test vehicle that never ships;
# what users get is built by MSVC (the preset windows-x64).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(triple x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${triple}-gcc-posix)
set(CMAKE_CXX_COMPILER ${triple}-g++-posix)
set(CMAKE_RC_COMPILER ${triple}-windres)

# Libraries and headers of this machine are for this machine. The other folders have what Debian does not build for
# Windows; scripts/test --windows fills them.
if(DEFINED ENV{KALVIO_CACHE})
  set(cache "$ENV{KALVIO_CACHE}")
elseif(DEFINED ENV{XDG_CACHE_HOME})
  set(cache "$ENV{XDG_CACHE_HOME}/kalvio")
else()
  set(cache "$ENV{HOME}/.cache/kalvio")
endif()
set(libraries "${cache}/mingw")
if(DEFINED ENV{KALVIO_MINGW_PREFIX})
  set(libraries "$ENV{KALVIO_MINGW_PREFIX}") # while they are made
endif()
set(KALVIO_LICENSES "${libraries}/share") # what packaging takes them from, a folder a library
set(CMAKE_FIND_ROOT_PATH /usr/${triple} "${libraries}" "${cache}/mingw-host" "${cache}/qt-mingw")
set(ZLIB_USE_STATIC_LIBS ON)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../scripts/lib/in-wine")
