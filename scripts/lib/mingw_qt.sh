# shellcheck shell=bash
# SPDX-License-Identifier: GPL-2.0-or-later
#
# The Qt that the module for Windows is built with and tested with under Wine: made once, in $KALVIO_CACHE/qt-mingw, with
# MinGW-w64 from Debian's source package. Widgets and what they need, nothing more; nothing of it ships.

readonly MINGW_QT_SUITE=bookworm
# Of the folder in which it grows: raise it when the functions below change what is built, so that nobody goes on with half
# of another one.
readonly MINGW_QT_RECIPE=1

# What would take time or another library, and nothing of ours asks for it.
readonly MINGW_QT_WITHOUT=(androiddeployqt concurrent dbus fontconfig glib icu network pkg_config printsupport qmake sql
	testlib vulkan xml zstd)
# Debian removes the libraries that a Linux system has from a build, not from the sources.
readonly MINGW_QT_BUNDLED=(doubleconversion freetype harfbuzz jpeg pcre2 png zlib)

mingw_qt_folder() { printf '%s/qt-mingw' "$KALVIO_CACHE"; }

mingw_qt_stamp() { printf 'recipe %s suite %s' "$MINGW_QT_RECIPE" "$MINGW_QT_SUITE"; }

# Of another version than this machine's tools it is of no use.
mingw_has_qt() {
	local tools
	tools=$(dpkg-query -W -f '${Version}' qt6-base-dev 2>/dev/null) || return 1
	grep -qsF "set(PACKAGE_VERSION \"${tools%%[+-]*}\")" "$(mingw_qt_folder)/lib/cmake/Qt6/Qt6ConfigVersionImpl.cmake"
}

# A Qt for another system is built with the tools of a Qt of this one, of the very same version.
mingw_qt_check_tools() {
	local source tools
	source=$(cd "$1" && echo qt6-base-*/)
	source=${source#qt6-base-}
	tools=$(dpkg-query -W -f '${Version}' qt6-base-dev)
	[[ $tools == "${source%%+*}"* ]] && return
	echo "Qt ${source%/} of Debian's $MINGW_QT_SUITE cannot be built with this machine's Qt $tools." >&2
	return 1
}

# mingw_qt_tablet_headers FOLDER: Qt asks for the tablets' header, which MinGW lacks and Wine has in a shape of its own.
mingw_qt_tablet_headers() {
	local folder=$1
	mingw_apt "$folder/download" deb "$MINGW_QT_SUITE" download libwine-dev &&
		dpkg -x "$folder"/download/libwine-dev_*.deb "$folder/download/root" &&
		mkdir -p "$folder/include" &&
		cp "$folder"/download/root/usr/include/wine/wine/windows/{wintab,pktdef}.h "$folder/include/" &&
		sed -i -e '1i #ifndef DECL_WINELIB_TYPE_AW' -e '1i #include <windows.h>' \
			-e '1i #define DECL_WINELIB_TYPE_AW(type) typedef type##W type;' \
			-e '1i #define WINELIB_NAME_AW(name) name##W' -e '1i #endif' \
			-e '1i #ifndef API' -e '1i #define API WINAPI' -e '1i #endif' "$folder/include/wintab.h"
}

mingw_qt_fetch() {
	local folder=$1
	[[ ! -f $folder/fetched ]] || return 0
	rm -rf -- "$folder/sources" "$folder/download"
	mingw_apt "$folder/sources" deb-src "$MINGW_QT_SUITE" source --only-source qt6-base &&
		mingw_qt_tablet_headers "$folder" && touch "$folder/fetched"
}

# mingw_qt_build FOLDER: pkg-config finds nothing, since what it knows of is this machine's.
mingw_qt_build() (
	local folder=$1 name
	local -a features=()
	for name in "${MINGW_QT_WITHOUT[@]}"; do features+=("-DFEATURE_$name=OFF"); done
	for name in "${MINGW_QT_BUNDLED[@]}"; do features+=("-DFEATURE_system_$name=OFF"); done
	export CPATH=$folder/include PKG_CONFIG_LIBDIR=$folder/none PKG_CONFIG_PATH='' KALVIO_MINGW_PREFIX=$folder/none
	cmake -G Ninja -S "$folder"/sources/qt6-base-*/ -B "$folder/build" \
		-DCMAKE_TOOLCHAIN_FILE="$KALVIO_ROOT/cmake/mingw-w64.cmake" -DCMAKE_INSTALL_PREFIX="$folder/installed" \
		-DCMAKE_BUILD_TYPE=Release -DQT_HOST_PATH=/usr \
		-DQT_HOST_PATH_CMAKE_DIR="/usr/lib/$(gcc -print-multiarch)/cmake" -DQT_QMAKE_TARGET_MKSPEC=win32-g++ \
		-DQT_BUILD_EXAMPLES=OFF -DQT_BUILD_TESTS=OFF -DQT_BUILD_TOOLS_WHEN_CROSSCOMPILING=OFF -DINPUT_opengl=no \
		"${features[@]}" &&
		cmake --build "$folder/build" --parallel "$KALVIO_JOBS" &&
		cmake --install "$folder/build" --strip
)

# Makes it unless it is there, under a temporary name until it is complete. A run that was cut off is gone on with.
mingw_qt_ensure() {
	local final growing log start=$SECONDS
	! mingw_has_qt || return 0
	final=$(mingw_qt_folder)
	growing=$final.incomplete
	log=$KALVIO_ROOT/build/mingw-qt.log
	mkdir -p "$KALVIO_CACHE" "$KALVIO_ROOT/build"
	exec 9>"$final.lock"
	flock 9
	if mingw_has_qt; then
		exec 9>&-
		return
	fi
	[[ -f $growing/.kalvio-recipe && $(<"$growing/.kalvio-recipe") == "$(mingw_qt_stamp)" ]] || rm -rf -- "$growing"
	mkdir -p "$growing"
	mingw_qt_stamp >"$growing/.kalvio-recipe"
	say "building Qt for Windows in $final (70 MB to fetch, then about half an hour; log: build/mingw-qt.log)"
	if ! {
		mingw_qt_fetch "$growing" && mingw_qt_check_tools "$growing/sources" && mingw_qt_build "$growing"
	} >"$log" 2>&1; then
		log_tail "$log"
		die "Qt could not be built for Windows; see above and build/mingw-qt.log." \
			"The same command goes on where it stopped."
	fi
	rm -rf -- "$final"
	mv -T "$growing/installed" "$final"
	rm -rf -- "$growing"
	exec 9>&-
	say "Qt for Windows: done in $((SECONDS - start)) s"
}
