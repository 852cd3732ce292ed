# shellcheck shell=bash
# SPDX-License-Identifier: GPL-2.0-or-later
#
# The three checks of scripts/format. The working folder is the root of the checkout.

# The version the sources are kept in shape with. Others break some lines elsewhere.
readonly LINT_FORMAT_VERSION=14

lint_format_program() {
	local program
	for program in "clang-format-$LINT_FORMAT_VERSION" clang-format; do
		command -v "$program" && return
	done
}

# Tracked files and new ones that are not ignored, one a line.
lint_files() { git ls-files --cached --others --exclude-standard -- "$@"; }

lint_sources() { lint_files '*.c' '*.h' '*.cpp' '*.hpp'; }

lint_warn_about_version() {
	"$(lint_format_program)" --version | grep -q "version $LINT_FORMAT_VERSION\." ||
		warn "this is not clang-format $LINT_FORMAT_VERSION: it may see some lines differently"
}

format_sources() {
	lint_warn_about_version
	lint_sources | xargs -d '\n' "$(lint_format_program)" -i
	git --no-pager diff --stat
}

check_shape() {
	lint_warn_about_version
	lint_sources | xargs -d '\n' "$(lint_format_program)" --dry-run --Werror && return
	warn "scripts/format brings these files into shape"
	return 1
}

# Scripts by their first line, wherever they lie.
check_scripts() {
	local -a scripts
	mapfile -t scripts < <(lint_files | xargs -d '\n' grep -lE --binary-files=without-match \
		-m1 '^(#!/bin/bash|# shellcheck shell=bash)' 2>/dev/null)
	((${#scripts[@]} == 0)) || shellcheck --external-sources --source-path="$KALVIO_ROOT" "${scripts[@]}"
}

# The translation units of src and engine that the preset builds: "source<tab>object".
tidy_units() {
	jq -r --arg root "$KALVIO_ROOT/" '.[] | select(.file | startswith($root + "src/") or startswith($root + "engine/"))
		| .file + "\t" + (.output // (.command | capture(" -o (?<o>[^ ]+)").o))' "$1/compile_commands.json" |
		sort -u -t $'\t' -k 1,1
}

# tidy_keys FOLDER: "key<tab>source" for each unit. The key changes with the source, our headers that it includes (as
# ninja has recorded them), the rules and clang-tidy itself.
tidy_keys() {
	local folder=$1 source object common
	common=$(clang-tidy --version | sha256sum; lint_files '*.clang-tidy' cmake/KalvioTargets.cmake | xargs -d '\n' sha256sum)
	declare -A headers=()
	while IFS=$'\t' read -r object source; do
		headers[$object]+=$source$'\n'
	done < <(ninja -C "$folder" -t deps 2>/dev/null | awk -v root="$KALVIO_ROOT/" '
		/^[^ ].*: #deps/ { sub(/: #deps.*/, ""); object = $0; next }
		/^ / { sub(/^ +/, ""); if (index($0, root) == 1) print object "\t" $0 }')
	while IFS=$'\t' read -r source object; do
		printf '%s\t%s\n' "$({
			echo "$common"
			printf '%s\n%s' "$source" "${headers[$object]:-}" | sort -u | xargs -d '\n' sha256sum
		} | sha256sum | cut -c 1-40)" "$source"
	done < <(tidy_units "$folder")
}

# One unit; quiet unless there is something to say. Its key becomes an empty file when it is clean.
tidy_one() {
	local folder=$1 cache=$2 key=$3 source=$4 output
	if output=$(clang-tidy --quiet -p "$folder" "$source" 2>&1); then
		: >"$cache/$key"
	else
		printf '%s\n' "$output" | grep -v 'warnings generated\|warnings treated as errors'
		return 1
	fi
}
export -f tidy_one

check_tidy() {
	local folder cache key source
	local -a todo=()
	folder=$(build_folder linux)
	cache=$KALVIO_ROOT/build/clang-tidy
	mkdir -p "$cache"
	while IFS=$'\t' read -r key source; do
		[[ -e $cache/$key ]] || todo+=("$key" "$source")
	done < <(tidy_keys "$folder")
	((${#todo[@]})) || return 0
	say "clang-tidy looks at $((${#todo[@]} / 2)) sources that it has not found clean yet"
	# shellcheck disable=SC2016  # the inner bash's own arguments
	printf '%s\0' "${todo[@]}" |
		xargs -0 -n 2 -P "$KALVIO_JOBS" bash -c 'tidy_one "$@"' bash "$folder" "$cache"
}
