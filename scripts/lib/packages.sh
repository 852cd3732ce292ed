# shellcheck shell=bash
# SPDX-License-Identifier: GPL-2.0-or-later
#
# The Debian packages behind each job. The names are those of Debian 12 and 13 and of Ubuntu 24.04.

declare -rA KALVIO_PACKAGES=(
	[build]="cmake ninja-build g++ pkg-config libobs-dev qt6-base-dev libcurl4-openssl-dev libzip-dev libhwy-dev nlohmann-json3-dev libjpeg-dev libpng-dev libgtest-dev libgmock-dev libbenchmark-dev libx11-dev fonts-material-design-icons-iconfont python3"
	[fonts]="fonts-dejavu-core fonts-noto-cjk"
	[tests]="openssl"
	[windows]="g++-mingw-w64-x86-64-posix libz-mingw-w64-dev nasm dpkg-dev debian-archive-keyring googletest nlohmann-json3-dev wine wine64 libgnutls30"
	[sanitizers]="clang libclang-rt-dev"
	[lint]="clang-format clang-tidy shellcheck jq"
	[display]="xvfb xauth libgl1-mesa-dri"
	[obs]="obs-studio"
	[peers]="libopencv-dev libopencv-contrib-dev libavfilter-dev libvips-dev libopencolorio-dev"
	[profile]="jq"
	[sandbox]="mmdebstrap debian-archive-keyring util-linux"
	[gallery]="python3-pil python3-numpy"
	[userns]="uidmap"
)

package_installed() {
	[[ $(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

# ensure_packages INSTALL GROUP...: installs what the groups lack; INSTALL 0 only checks. Says what is missing either way.
ensure_packages() {
	local install=$1 group package
	local -a missing=()
	shift
	if ! command -v apt-get >/dev/null || ! command -v dpkg-query >/dev/null; then
		die "This machine has no apt-get: the scripts install their tools on Debian and Ubuntu only." \
			"Elsewhere, install by hand what scripts/lib/packages.sh lists."
	fi
	for group in "$@"; do
		for package in ${KALVIO_PACKAGES[$group]}; do
			package_installed "$package" || missing+=("$package")
		done
	done
	((${#missing[@]})) || return 0

	say "missing packages: ${missing[*]}"
	local fix="apt-get install --no-install-recommends ${missing[*]}"
	((install)) || die "Packages are missing and --no-install was given. As root:" "$fix"

	local -a as_root=()
	if ((EUID != 0)); then
		if command -v sudo >/dev/null && { [[ -t 0 ]] || sudo -n true 2>/dev/null; }; then
			as_root=(sudo)
		else
			die "Packages are missing and only root can install them. As root:" "$fix"
		fi
	fi
	local -a apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=600)
	"${apt[@]}" update || warn "apt-get update failed; going on with the package lists of this machine"
	"${apt[@]}" install -y --no-install-recommends "${missing[@]}" ||
		die "apt-get could not install: ${missing[*]}" "Its own message stands above. By hand: $fix"
}
