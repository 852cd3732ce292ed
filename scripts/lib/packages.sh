# shellcheck shell=bash
# SPDX-License-Identifier: GPL-2.0-or-later
#
# The Debian packages behind each job, by the names of Debian 12 and 13 and of Ubuntu 24.04; where these differ, the names
# stand with a bar between them, and the first one that the system has is installed.

declare -rA KALVIO_PACKAGES=(
	[build]="cmake ninja-build g++ pkg-config libobs-dev qt6-base-dev libcurl4-openssl-dev libzip-dev libhwy-dev nlohmann-json3-dev libjpeg-dev libpng-dev fonts-material-design-icons-iconfont"
	[nets]="npm"
	[tests]="libgtest-dev libgmock-dev libbenchmark-dev libx11-dev obs-studio openssl python3 python3-pytest"
	[fonts]="fonts-dejavu-core fonts-noto-cjk"
	[windows]="clang g++-mingw-w64-x86-64-posix libz-mingw-w64-dev nasm dpkg-dev debian-archive-keyring googletest nlohmann-json3-dev wine wine64 libgnutls30|libgnutls30t64"
	[sanitizers]="clang libclang-rt-dev"
	[lint]="clang clang-format clang-tidy shellcheck black flake8"
	[display]="xvfb xauth libgl1-mesa-dri"
	[obs]="obs-studio qt6-svg-plugins|libqt6svg6 fonts-dejavu-core"
	[peers]="libopencv-dev libopencv-contrib-dev libavfilter-dev libvips-dev libopencolorio-dev"
	[deb]="dpkg-dev file gzip"
	[net_peers]="libxnnpack-dev libpthreadpool-dev"
	[profile]="jq"
	[cases]="python3-pytest"
	[sandbox]="mmdebstrap debian-archive-keyring bubblewrap util-linux mount"
	[gallery]="python3-pil python3-numpy"
	[clips]="ffmpeg"
	[userns]="uidmap"
)

# What of a package shows that it is there, on systems with other packages: a program, a module of pkg-config, a header, a
# file or a module of Python. A program counts on Debian as well, wherever it comes from. What is not listed is not looked
# for: without it, CMake or the program that wants it says so.
declare -rA KALVIO_SIGNS=(
	[cmake]="program cmake" [ninja-build]="program ninja" [g++]="program c++" [pkg-config]="program pkg-config"
	[libobs-dev]="module libobs" [qt6-base-dev]="module Qt6Widgets" [libcurl4-openssl-dev]="module libcurl"
	[libzip-dev]="module libzip" [libhwy-dev]="module libhwy" [nlohmann-json3-dev]="header nlohmann/json.hpp"
	[libjpeg-dev]="header stdio.h jpeglib.h" [libpng-dev]="module libpng"
	[npm]="program npm"
	[libgtest-dev]="module gtest" [libgmock-dev]="module gmock" [libbenchmark-dev]="module benchmark"
	[libx11-dev]="module x11" [openssl]="program openssl" [python3]="program python3" [python3-pytest]="program pytest-3"
	[obs-studio]="file /usr/lib*/obs-plugins/image-source.so /usr/lib/*/obs-plugins/image-source.so"
	[g++-mingw-w64-x86-64-posix]="program x86_64-w64-mingw32-g++-posix" [nasm]="program nasm"
	[dpkg-dev]="program dpkg-source" [wine]="program wine" [file]="program file" [gzip]="program gzip"
	[clang]="program clang++" [clang-format]="program clang-format" [clang-tidy]="program clang-tidy"
	[shellcheck]="program shellcheck" [black]="program black" [flake8]="program flake8" [jq]="program jq"
	[xvfb]="program Xvfb" [xauth]="program xauth"
	[libopencv-dev]="module opencv4" [libavfilter-dev]="module libavfilter" [libvips-dev]="module vips"
	[mmdebstrap]="program mmdebstrap" [bubblewrap]="program bwrap" [util-linux]="program unshare" [mount]="program mount" [uidmap]="program newuidmap"
	[debian-archive-keyring]="file /usr/share/keyrings/debian-archive-keyring.gpg"
	[python3-pil]="python PIL" [python3-numpy]="python numpy" [ffmpeg]="program ffmpeg"
)

# Other systems may have Debian's programs, to make sandboxes with, but no list of installed packages.
have_apt() { command -v apt-get >/dev/null && command -v dpkg-query >/dev/null && [[ -s /var/lib/dpkg/status ]]; }

package_installed() {
	[[ $(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

# sign_seen KIND WORD...: whether what KALVIO_SIGNS names is on this machine.
sign_seen() {
	local kind=$1
	shift
	case $kind in
	program) command -v "$1" >/dev/null ;;
	module) pkg-config --exists "$1" 2>/dev/null ;;
	header) printf '#include <%s>\n' "$@" | c++ -x c++ -E - >/dev/null 2>&1 ;;
	file) compgen -G "$1" >/dev/null || { (($# > 1)) && sign_seen file "${@:2}"; } ;;
	python) /usr/bin/python3 -c "import $1" 2>/dev/null ;;
	esac
}

# need_met NEED: whether one of the packages that NEED names, with bars between them, is there.
need_met() {
	local package sign
	for package in ${1//|/ }; do
		sign=${KALVIO_SIGNS[$package]:-}
		if have_apt; then
			package_installed "$package" && return 0
			[[ $sign == program\ * ]] || continue
		elif [[ -z $sign ]]; then
			return 0
		fi
		# shellcheck disable=SC2086  # several words
		sign_seen $sign && return 0
	done
	return 1
}

# Fills `as_root`: what runs a command as root, or the reason why nothing does.
become_root() {
	as_root=()
	((EUID != 0)) || return 0
	command -v sudo >/dev/null && { [[ -t 0 ]] || sudo -n true 2>/dev/null; } || return 1
	as_root=(sudo)
}

# The package lists of a machine that has just been set up are empty, and those of an old one name packages that are gone.
# Once a process.
update_package_lists() {
	local -a as_root
	[[ -z ${KALVIO_LISTS_UPDATED:-} ]] && become_root || return 0
	"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=600 update ||
		warn "apt-get update failed; going on with the package lists of this machine"
	KALVIO_LISTS_UPDATED=1
}

# The version that apt would install, empty if none; waits for nothing and needs no root.
package_candidate() { apt-cache policy "$1" 2>/dev/null | sed -n 's/^ *Candidate: *\([^(].*\)$/\1/p'; }

# The package that apt would install for a need: the first that it has, else the first.
package_to_install() {
	local package
	for package in ${1//|/ } "${1%%|*}"; do
		[[ -z $(package_candidate "$package") ]] || break
	done
	printf '%s' "$package"
}

# ensure_packages INSTALL GROUP...: installs what the groups lack; INSTALL 0 only checks. Says what is missing either way.
ensure_packages() {
	local install=$1 group need
	local -a missing=() chosen=() as_root
	shift
	for group in "$@"; do
		for need in ${KALVIO_PACKAGES[$group]}; do
			[[ " ${missing[*]} " == *" $need "* ]] || need_met "$need" || missing+=("$need")
		done
	done
	((${#missing[@]})) || return 0

	have_apt || missing_without_apt "${missing[@]}"
	say "missing packages: ${missing[*]}"
	local fix="apt-get update && apt-get install --no-install-recommends ${missing[*]%%|*}"
	((install)) || die "Packages are missing and --no-install was given. As root:" "$fix"
	become_root || die "Packages are missing and only root can install them. As root:" "$fix"
	update_package_lists
	for need in "${missing[@]}"; do
		chosen+=("$(package_to_install "$need")")
	done
	"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=600 \
		install -y --no-install-recommends "${chosen[@]}" ||
		die "apt-get could not install: ${chosen[*]}" "Its own message stands above. By hand: $fix"
}

# missing_without_apt NEED...: what to install where the packages have other names.
missing_without_apt() {
	local need
	local -a lines=()
	for need in "$@"; do
		lines+=("  $need (${KALVIO_SIGNS[${need%%|*}]})")
	done
	die "This machine lacks what the Debian packages below bring, and has no apt-get to install them." \
		"Install it by the system's own means; in brackets what is looked for:" "${lines[@]}"
}
