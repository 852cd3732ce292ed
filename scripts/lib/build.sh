# shellcheck shell=bash
# SPDX-License-Identifier: GPL-2.0-or-later
#
# Configuring and building a preset of CMakePresets.json.

build_folder() { printf '%s/build/%s' "$KALVIO_ROOT" "$1"; }

# build_preset PRESET [TARGET]...: builds the targets, or everything, of a folder that is configured with all that the
# preset has: tests and benchmarks as well.
build_preset() {
	local -a configure=() options=()
	# Left out by build_product.
	! build_lacks_tests "$(build_folder "$1")" || configure=(-D KALVIO_BUILD_TESTS=ON -D KALVIO_BUILD_BENCH=ON)
	build_targets "$@"
}

# build_product TARGET...: builds targets of the product, or of what the scripts use of the tests, with the preset
# linux. A folder that has not been configured yet is configured without tests and benchmarks, which need more
# packages.
build_product() {
	local folder
	local -a configure=() options=()
	folder=$(build_folder linux)
	if [[ ! -f $folder/build.ninja ]] || build_lacks_tests "$folder"; then
		configure=(-D KALVIO_BUILD_TESTS=OFF -D KALVIO_BUILD_BENCH=OFF -D KALVIO_BUILD_TOOLS=ON)
	fi
	build_targets linux "$@"
}

# build_models FOLDER: which folder of nets a build was configured with.
build_models() { sed -n 's/^KALVIO_MODELS:[A-Z]*=//p' "$1/CMakeCache.txt"; }

build_lacks_tests() { grep -qs '^KALVIO_BUILD_TESTS:[A-Z]*=OFF' "$1/CMakeCache.txt"; }

# build_targets PRESET [TARGET]...: what the two functions above have in common; `configure` holds further arguments for
# configuring, `options` for building. One process at a time works in a build folder.
build_targets() {
	local preset=$1 folder lock
	local -a targets=()
	shift
	folder=$(build_folder "$preset")
	(($# == 0)) || targets=(--target "$@")
	[[ -z ${KALVIO_MODELS:-} ]] || configure+=("-DKALVIO_MODELS=$KALVIO_MODELS")
	mkdir -p "$KALVIO_ROOT/build"
	exec {lock}>"$folder.lock"
	if ! flock -n "$lock"; then
		say "another process builds in $folder; waiting for it"
		flock "$lock"
	fi
	if build_needs_configuring "$folder" "$@"; then
		(cd "$KALVIO_ROOT" && cmake --preset "$preset" "${configure[@]}" {lock}>&-) || build_not_configured "$preset"
	fi
	cmake --build "$folder" --parallel "$KALVIO_JOBS" "${targets[@]}" "${options[@]}" {lock}>&- ||
		die "The build of the preset $preset failed; the compiler's message stands above."
	exec {lock}>&-
}

# Without ninja's file, the next build begins with configuring, whatever the cache says by now.
build_not_configured() {
	rm -f "$(build_folder "$1")/build.ninja"
	die "CMake could not configure the preset $1; its message stands above." \
		"After a change of the machine's packages: scripts/clean, then again."
}

# build_needs_configuring FOLDER [TARGET]...: ninja configures again by itself when a CMake file has changed, but not when
# the presets have, or the folder of the nets, or the machine's packages: what was left out or not found before may be there now. A target that is
# not known, or tests that are missing when everything is asked for, say the same.
build_needs_configuring() {
	local folder=$1 ninja=$1/build.ninja target
	shift
	[[ -f $ninja && ! $KALVIO_ROOT/CMakePresets.json -nt $ninja && ! /var/lib/dpkg/status -nt $ninja ]] || return 0
	[[ -z ${KALVIO_MODELS:-} || $KALVIO_MODELS == "$(build_models "$folder")" ]] || return 0
	if (($# == 0)); then
		build_lacks_tests "$folder"
		return
	fi
	for target in "$@"; do
		grep -q "^build $target: " "$ninja" || return 0
	done
	return 1
}
