#!/bin/sh
# SPDX-License-Identifier: GPL-2.0-or-later
#
# The tests of the HTTP client of Windows, and those beside them that need no host, as a Windows program under Wine
# against the same TLS servers:
#
#     tests/update/run_wine.sh [GOOGLETEST OPTIONS]
#
# Builds with MinGW in build/wine/update and keeps a Wine prefix of its own in build/wine/prefix.

set -eu
cd "$(dirname "$0")/../.."
build=$PWD/build/wine/update
compiler=x86_64-w64-mingw32-g++-posix
googletest=/usr/src/googletest/googletest

missing=
for tool in $compiler wine wineserver openssl python3; do
	command -v $tool >/dev/null || missing="$missing $tool"
done
[ -d $googletest ] || missing="$missing $googletest"
if [ -n "$missing" ]; then
	echo "run_wine.sh: missing:$missing" >&2
	echo "on Debian: apt-get install g++-mingw-w64-x86-64-posix wine wine64 libgnutls30 googletest openssl python3" >&2
	exit 1
fi

# Programs

mkdir -p "$build"
if [ ! -f "$build/gtest.o" ]; then
	echo "run_wine.sh: GoogleTest for Windows"
	$compiler -std=c++20 -O1 -c -I $googletest/include -I $googletest $googletest/src/gtest-all.cc -o "$build/gtest.o"
	$compiler -std=c++20 -O1 -c -I $googletest/include -I $googletest $googletest/src/gtest_main.cc -o "$build/main.o"
fi
build_test() {
	name=$1
	shift
	echo "run_wine.sh: $name"
	$compiler -std=c++20 -O1 -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror \
		-DNOMINMAX -DWIN32_LEAN_AND_MEAN -DUNICODE -D_UNICODE -I src -I tests -isystem $googletest/include \
		src/platform/utf16_windows.cpp src/update/http_client_winhttp.cpp "$@" "$build/gtest.o" "$build/main.o" \
		-o "$build/$name.exe" -static -lwinhttp -lntdll
}
build_test http_client_test tests/update/http_client_test.cpp tests/update/process_counts_windows.cpp \
	tests/update/version_test.cpp src/update/version.cpp tests/update/web_address_test.cpp src/update/web_address.cpp
build_test process_exit_test tests/update/process_exit_test.cpp

# Run

export WINEPREFIX="$PWD/build/wine/prefix" WINEARCH=win64 WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
unset DISPLAY WAYLAND_DISPLAY
if [ ! -d "$WINEPREFIX" ]; then
	echo "run_wine.sh: a Wine prefix"
	wineboot -i
	wine winecfg -v win10
	wine reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' /v Debugger /d false /f
fi
# Wine reads the list of certificate authorities where its server was started.
wineserver -k || true
status=0
for name in http_client_test process_exit_test; do
	scripts/manifest-server --misbehave --quiet -- wine "$build/$name.exe" "$@" || status=$?
done
wineserver -k || true
exit $status
