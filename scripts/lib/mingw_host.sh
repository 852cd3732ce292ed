# shellcheck shell=bash
# SPDX-License-Identifier: GPL-2.0-or-later
#
# The host that the module for Windows is linked with and tested in, made once, in $KALVIO_CACHE/mingw-host: headers and
# names of OBS 30 from Debian 13's packages; and of OBS 30 itself what only handles data (settings, properties, signals,
# texts, files, memory, log), from its sources, as an obs.dll. There is no OBS for Windows to be had from Debian, and
# graphics and sources are doubled in the tests anyway. With it the fonts that the panel is drawn with.


readonly MINGW_HOST_SUITE=trixie
readonly MINGW_HOST_PACKAGES=(libobs-dev libobs0t64 uthash-dev)
readonly MINGW_HOST_DATA=(
	callback/calldata.c callback/decl.c callback/signal.c obs-data.c obs-properties.c util/base.c util/bmem.c
	util/cf-lexer.c util/cf-parser.c util/crc32.c util/dstr.c util/lexer.c util/platform.c
	util/platform-windows.c util/text-lookup.c util/threading-windows.c util/utf8.c
)
readonly MINGW_HOST_RECIPE=5

mingw_host_folder() { printf '%s/mingw-host' "$KALVIO_CACHE"; }

mingw_host_stamp() { printf 'recipe %s suite %s' "$MINGW_HOST_RECIPE" "$MINGW_HOST_SUITE"; }

mingw_host_ready() {
	local stamp
	stamp=$(mingw_host_folder)/.kalvio-recipe
	[[ -f $stamp && $(<"$stamp") == "$(mingw_host_stamp)" ]]
}

# mingw_import_library NAME LIBRARY FOLDER: an import library for NAME.dll with the functions of a Linux library. That a
# function is in Linux's library does not say that it is in the one of Windows.
mingw_import_library() {
	local name=$1 library=$2 folder=$3 names
	names=$(nm --dynamic --defined-only --format=posix "$library" |
		awk '$2 == "T" && $1 !~ /^(_init|_fini|_Z)/ { sub(/@.*/, "", $1); print "  " $1 }') && [[ -n $names ]] || return 1
	printf 'LIBRARY %s.dll\nEXPORTS\n%s\n' "$name" "$names" >"$folder/lib/$name.def"
	x86_64-w64-mingw32-dlltool -d "$folder/lib/$name.def" -D "$name.dll" -l "$folder/lib/lib$name.dll.a"
}

# mingw_host_package NAME FOLDER [LINE]...: a CMake package with these lines, in which $folder is FOLDER.
# shellcheck disable=SC2016  # the variables are CMake's
mingw_host_package() {
	local package=$1 folder=$2/lib/cmake/$1
	shift 2
	mkdir -p "$folder"
	{
		printf 'if(TARGET OBS::%s)\n  return()\nendif()\n' "$package"
		printf 'get_filename_component(folder "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)\n'
		printf '%s\n' "$@"
	} >"$folder/${package}Config.cmake"
}

# shellcheck disable=SC2016
mingw_host_packages() {
	mingw_host_package libobs "$1" 'add_library(OBS::libobs SHARED IMPORTED)' \
		'set_target_properties(OBS::libobs PROPERTIES IMPORTED_IMPLIB "${folder}/lib/libobs.dll.a"' \
		'  INTERFACE_INCLUDE_DIRECTORIES "${folder}/include/obs")' || return 1
	mingw_host_package obs-frontend-api "$1" 'add_library(OBS::obs-frontend-api SHARED IMPORTED)' \
		'set_target_properties(OBS::obs-frontend-api PROPERTIES IMPORTED_IMPLIB "${folder}/lib/libobs-frontend-api.dll.a"' \
		'  INTERFACE_INCLUDE_DIRECTORIES "${folder}/include/obs")' || return 1
	mingw_host_package libobs-data "$1" 'add_library(OBS::libobs-data STATIC IMPORTED)' \
		'set_target_properties(OBS::libobs-data PROPERTIES IMPORTED_LOCATION "${folder}/lib/libobs-data.a"' \
		'  INTERFACE_LINK_LIBRARIES "${folder}/lib/libjansson.a;winmm;psapi;version;ole32;uuid;shell32;rpcrt4")'
}

# mingw_host_data FOLDER SOURCES HEADERS: the part that handles data, as a static library and as an obs.dll; and the
# library between modules and the front end, which answers nothing as long as there is no front end.
mingw_host_data() {
	local folder=$1 sources=$2/libobs headers=$3 objects=$1/download/objects source object
	local -a compiler=(
		x86_64-w64-mingw32-gcc-posix -O2 -w -D_WIN32_WINNT=0x0A00 -DUNICODE -D_UNICODE -DHAVE_OBSCONFIG_H
		# MSVC's exceptions of the system, which nothing here is to rely on.
		'-D__try=if(1)' '-D__except(filter)=else'
		# MSVC's own way to read a volatile.
		'-D__iso_volatile_load32(place)=(*(place))' '-D__iso_volatile_load8(place)=(*(place))'
		"-I$objects" "-I$sources" "-I$2/deps/libcaption" "-I$headers" "-I$folder/jansson/include"
	)
	mkdir -p "$objects" "$folder/bin"
	printf '#pragma once\n' >"$objects/obsconfig.h"
	# Where MSVC opens a file by its wide name, others get fopen, which on Windows does not take UTF-8.
	cat >"$objects/rest.c" <<-END
		#include <stdio.h>
		#include <windows.h>

		int obs_get_video_info(void *info)
		{
			(void)info;
			return 0; // a host that shows nothing
		}

		FILE *open_utf8(const char *path, const char *mode)
		{
			wchar_t wide_path[32768], wide_mode[16];
			if (!MultiByteToWideChar(CP_UTF8, 0, path, -1, wide_path, 32768) ||
			    !MultiByteToWideChar(CP_UTF8, 0, mode, -1, wide_mode, 16))
				return NULL;
			return _wfopen(wide_path, wide_mode);
		}
	END
	for source in "${MINGW_HOST_DATA[@]/#/$sources/}" "$objects/rest.c"; do
		object=${source##*/}
		"${compiler[@]}" -Dfopen=open_utf8 -c "$source" -o "$objects/${object%.c}.o" || return 1
	done
	cp "$folder/jansson/lib/libjansson.a" "$folder/lib/" &&
		x86_64-w64-mingw32-ar rcs "$folder/lib/libobs-data.a" "$objects"/*.o &&
		x86_64-w64-mingw32-gcc-posix -shared -static -o "$folder/bin/obs.dll" "$objects"/*.o "$folder/lib/libjansson.a" \
			-lwinmm -lpsapi -lversion -lole32 -luuid -lshell32 -lrpcrt4 &&
		x86_64-w64-mingw32-g++-posix -O2 -w -shared -o "$folder/bin/obs-frontend-api.dll" -DHAVE_OBSCONFIG_H \
			"-I$objects" "-I$sources" "$2/UI/obs-frontend-api/obs-frontend-api.cpp" "$folder/lib/libobs.dll.a"
}

mingw_host_make() {
	local folder=$1 download=$1/download root=$1/download/root package
	mkdir -p "$folder/lib" "$folder/include"
	mingw_apt "$download" deb "$MINGW_HOST_SUITE" download "${MINGW_HOST_PACKAGES[@]}" &&
		for package in "$download"/*.deb; do
			dpkg -x "$package" "$root" || return 1
		done &&
		cp -r "$root/usr/include/obs" "$folder/include/" &&
		mingw_import_library obs "$(find "$root" -name libobs.so.0)" "$folder" &&
		mingw_import_library obs-frontend-api "$(find "$root" -name libobs-frontend-api.so.0)" "$folder" &&
		mingw_host_packages "$folder" &&
		# The archives as their authors made them: what Debian changes in them does not concern Windows.
		mingw_apt "$download" deb-src "$MINGW_HOST_SUITE" source --only-source --tar-only obs-studio jansson &&
		tar -C "$download" -xf "$download"/obs-studio_*.orig.tar.xz &&
		tar -C "$download" -xf "$download"/jansson_*.orig.tar.gz &&
		mingw_build jansson "$download"/jansson-*/ "$folder/jansson" -DJANSSON_BUILD_DOCS=OFF \
			-DJANSSON_WITHOUT_TESTS=ON -DJANSSON_EXAMPLES=OFF &&
		mingw_host_data "$folder" "$download"/obs-studio-*/ "$root/usr/include" &&
		rm -rf -- "$download" "$folder/jansson"
}

mingw_host_ensure() {
	local final growing log
	final=$(mingw_host_folder)
	growing=$final.incomplete
	log=$KALVIO_ROOT/build/mingw-host.log
	! mingw_host_ready || return 0
	mkdir -p "$KALVIO_CACHE" "$KALVIO_ROOT/build"
	exec 9>"$KALVIO_CACHE/mingw-host.lock"
	flock 9
	if mingw_host_ready; then
		exec 9>&-
		return
	fi
	say "making OBS's names for Windows in $final (12 MB to fetch; log: build/mingw-host.log)"
	rm -rf -- "$growing"
	if ! mingw_host_make "$growing" >"$log" 2>&1; then
		log_tail "$log"
		die "The names of OBS could not be made for Windows; see above and build/mingw-host.log."
	fi
	mingw_host_stamp >"$growing/.kalvio-recipe"
	rm -rf -- "$final"
	mv -T "$growing" "$final"
	exec 9>&-
}

# The fonts that Qt finds without a display; scripts/lib/in-wine says so to it.
mingw_link_fonts() {
	mkdir -p "$KALVIO_CACHE/wine-fonts"
	ln -sf /usr/share/fonts/truetype/dejavu/DejaVuSans{,-Bold}.ttf \
		/usr/share/fonts/opentype/noto/NotoSansCJK-{Regular,Bold}.ttc "$KALVIO_CACHE/wine-fonts/"
}
