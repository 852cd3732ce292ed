# shellcheck shell=bash
# SPDX-License-Identifier: GPL-2.0-or-later
#
# Configuring and building a preset of CMakePresets.json.

build_folder() { printf '%s/build/%s' "$KALVIO_ROOT" "$1"; }

# build_preset PRESET [TARGET]...: builds the targets, or everything. Configures only when that has not succeeded yet or the
# presets have changed: ninja does it again by itself when a CMake file has.
build_preset() {
	local preset=$1 folder
	local -a targets=()
	shift
	folder=$(build_folder "$preset")
	(($# == 0)) || targets=(--target "$@")
	if [[ ! -f $folder/build.ninja || $KALVIO_ROOT/CMakePresets.json -nt $folder/build.ninja ]]; then
		(cd "$KALVIO_ROOT" && cmake --preset "$preset") ||
			die "CMake could not configure the preset $preset; its message stands above." \
				"After a change of the machine's packages: scripts/clean, then again."
	fi
	cmake --build "$folder" --parallel "$KALVIO_JOBS" "${targets[@]}" ||
		die "The build of the preset $preset failed; the compiler's message stands above."
}
