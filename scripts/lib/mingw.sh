# shellcheck shell=bash
# SPDX-License-Identifier: GPL-2.0-or-later
#
# What the Windows build needs from others and Debian does not build for Windows: made once, in $KALVIO_CACHE/mingw, with
# MinGW-w64 from Debian's own source packages. Static libraries, for tests under Wine; nothing of it ships.

readonly MINGW_SUITE=bookworm
readonly MINGW_SOURCES=(libzip libpng1.6 libjpeg-turbo highway)
# Part of the stamp: raise it when the functions below change what is built.
readonly MINGW_RECIPE=2

mingw_prefix() { printf '%s/mingw' "$KALVIO_CACHE"; }

mingw_stamp() { printf 'recipe %s suite %s sources %s' "$MINGW_RECIPE" "$MINGW_SUITE" "${MINGW_SOURCES[*]}"; }

mingw_ready() {
	local stamp
	stamp=$(mingw_prefix)/.kalvio-recipe
	[[ -f $stamp && $(<"$stamp") == "$(mingw_stamp)" ]]
}

# mingw_apt FOLDER TYPE SUITE ARGUMENT...: apt-get for packages of the suite (deb or deb-src), in the folder and with
# lists and archives of the folder's own, not the system's.
mingw_apt() (
	local folder=$1 type=$2 suite=$3 mirror
	shift 3
	mirror=$(sandbox_mirror)
	mkdir -p "$folder/lists/partial" "$folder/cache/archives/partial"
	printf '%s [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] %s %s main\n' "$type" \
		"${mirror:-http://deb.debian.org/debian}" "$suite" >"$folder/sources.list"
	cat >"$folder/apt.conf" <<-END
		Dir::Etc::sourcelist "$folder/sources.list";
		Dir::Etc::sourceparts "-";
		Dir::State::lists "$folder/lists";
		Dir::Cache "$folder/cache";
		Acquire::Check-Valid-Until "false";
		Acquire::Retries "3";
		APT::Sandbox::User "root";
	END
	export APT_CONFIG=$folder/apt.conf
	cd "$folder" && apt-get -q update && apt-get -q "$@"
)

# mingw_build NAME SOURCE PREFIX [CMAKE ARGUMENT]...
mingw_build() {
	local name=$1 source=$2 prefix=$3
	shift 3
	KALVIO_MINGW_PREFIX=$prefix cmake -G Ninja -S "$source" -B "$prefix/build/$name" \
		-DCMAKE_TOOLCHAIN_FILE="$KALVIO_ROOT/cmake/mingw-w64.cmake" -DCMAKE_INSTALL_PREFIX="$prefix" \
		-DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=OFF "$@" &&
		cmake --build "$prefix/build/$name" --parallel "$KALVIO_JOBS" --target install
}

# mingw_build_all PREFIX: without what the engine does not use of them.
mingw_build_all() {
	local prefix=$1 sources=$1/sources
	mingw_build png "$sources"/libpng1.6-*/ "$prefix" -DPNG_SHARED=OFF -DPNG_TESTS=OFF -DPNG_EXECUTABLES=OFF &&
		mingw_build jpeg "$sources"/libjpeg-turbo-*/ "$prefix" -DENABLE_SHARED=OFF -DWITH_TURBOJPEG=OFF &&
		mingw_build highway "$sources"/highway-*/ "$prefix" -DBUILD_TESTING=OFF -DHWY_ENABLE_EXAMPLES=OFF \
			-DHWY_ENABLE_CONTRIB=OFF &&
		mingw_build zip "$sources"/libzip-*/ "$prefix" -DENABLE_BZIP2=OFF -DENABLE_LZMA=OFF -DENABLE_ZSTD=OFF \
			-DENABLE_OPENSSL=OFF -DENABLE_GNUTLS=OFF -DENABLE_MBEDTLS=OFF -DENABLE_COMMONCRYPTO=OFF \
			-DENABLE_WINDOWS_CRYPTO=OFF -DBUILD_TOOLS=OFF -DBUILD_REGRESS=OFF -DBUILD_EXAMPLES=OFF -DBUILD_DOC=OFF &&
		mingw_build googletest /usr/src/googletest "$prefix" -DBUILD_GMOCK=OFF
}

# Headers alone: those of this machine serve every other one.
mingw_copy_json() {
	mkdir -p "$1/include" "$1/share/cmake" &&
		cp -r /usr/include/nlohmann "$1/include/" &&
		cp -r /usr/share/cmake/nlohmann_json "$1/share/cmake/"
}

# mingw_copy_licenses PREFIX: of everything that goes into the engine, in share/NAME/copyright. The names are vcpkg's, which
# keeps them for the production build in the same place.
mingw_copy_licenses() {
	local prefix=$1 name
	local -A texts=(
		[highway]=$(echo "$prefix"/sources/highway-*/debian/copyright)
		[libjpeg-turbo]=$(echo "$prefix"/sources/libjpeg-turbo-*/debian/copyright)
		[libpng]=$(echo "$prefix"/sources/libpng1.6-*/debian/copyright)
		[libzip]=$(echo "$prefix"/sources/libzip-*/debian/copyright)
		[nlohmann-json]=/usr/share/doc/nlohmann-json3-dev/copyright
		[zlib]=/usr/share/doc/libz-mingw-w64-dev/copyright
	)
	for name in "${!texts[@]}"; do
		install -D -m 644 "${texts[$name]}" "$prefix/share/$name/copyright" || return 1
	done
}

# Makes it all unless it is there, under a temporary name until it is complete.
mingw_ensure() {
	local final growing log start=$SECONDS
	! mingw_ready || return 0
	final=$(mingw_prefix)
	growing=$final.incomplete
	mkdir -p "$KALVIO_CACHE" "$KALVIO_ROOT/build"
	exec 9>"$KALVIO_CACHE/mingw.lock"
	flock 9
	if mingw_ready; then
		exec 9>&-
		return
	fi
	log=$KALVIO_ROOT/build/mingw.log
	say "building libraries for Windows in $final (6 MB of sources to fetch; log: build/mingw.log)"
	rm -rf -- "$growing"
	if ! {
		mingw_apt "$growing/sources" deb-src "$MINGW_SUITE" source --only-source "${MINGW_SOURCES[@]}" &&
		mingw_build_all "$growing" && mingw_copy_json "$growing" && mingw_copy_licenses "$growing"
	} >"$log" 2>&1; then
		log_tail "$log"
		die "A library could not be built for Windows; see above and build/mingw.log."
	fi
	rm -rf -- "$growing/sources" "$growing/build"
	mingw_stamp >"$growing/.kalvio-recipe"
	rm -rf -- "$final"
	mv -T "$growing" "$final"
	exec 9>&-
	say "libraries for Windows: done in $((SECONDS - start)) s"
}
