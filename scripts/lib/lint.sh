# shellcheck shell=bash
# SPDX-License-Identifier: GPL-2.0-or-later
#
# The four checks of scripts/format. The working folder is the root of the checkout.

# The versions the sources are kept in shape with, those of Debian 12 and 13: the sources have a shape that both agree on.
# Others may break some lines elsewhere.
readonly LINT_FORMAT_VERSIONS=(14 19)

# The most sources that clang-tidy reads as one.
readonly TIDY_BATCH=12

lint_format_program() {
	local program
	for program in "${LINT_FORMAT_VERSIONS[@]/#/clang-format-}" clang-format; do
		command -v "$program" && return
	done
}

# Tracked files and new ones that are not ignored, one a line.
lint_files() { git ls-files --cached --others --exclude-standard -- "$@"; }

lint_sources() { lint_files '*.c' '*.h' '*.cpp' '*.hpp'; }

# Python scripts by their name or first line. A tracked file that has been deleted is none.
lint_python() {
	{
		lint_files '*.py'
		lint_files | xargs -d '\n' grep -lE --binary-files=without-match -m1 '^#!.*python3$' 2>/dev/null || true
	} | sort -u
}

lint_warn_about_version() {
	local version
	version=$("$(lint_format_program)" --version)
	[[ $version =~ version\ ([0-9]+)\. && " ${LINT_FORMAT_VERSIONS[*]} " == *" ${BASH_REMATCH[1]} "* ]] ||
		warn "this is not clang-format ${LINT_FORMAT_VERSIONS[*]}: it may see some lines differently"
}

format_sources() {
	lint_warn_about_version
	lint_sources | xargs -d '\n' "$(lint_format_program)" -i
	lint_python | xargs -r -d '\n' black --quiet
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

# pyproject.toml has the shape, .flake8, since flake8 does not read that, the rules.
check_python() {
	local failed=0
	lint_python | xargs -r -d '\n' black --quiet --check --diff || failed=1
	lint_python | xargs -r -d '\n' flake8 || failed=1
	((!failed)) || warn "scripts/format brings the Python scripts into shape; what else is above it leaves to you"
	return "$failed"
}

# tidy_database FOLDER: how the preset in FOLDER compiles what it builds of src and engine. Tests compile some of it again.
tidy_database() {
	jq --arg root "$KALVIO_ROOT/" '[.[] | .output //= (.command | capture(" -o (?<o>[^ ]+)").o)
		| select((.file | startswith($root + "src/") or startswith($root + "engine/"))
			and (.output | startswith("src/") or startswith("engine/")))]' "$1/compile_commands.json"
}

# tidy_units DATABASE: its translation units, "source<tab>object".
tidy_units() { jq -r '.[] | .file + "\t" + .output' "$1" | sort -u -t $'\t' -k 1,1; }

# tidy_keys FOLDER DATABASE: "key<tab>source" for each unit. The key changes with the source, our headers that it includes (as
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
	done < <(tidy_units "$2")
}

# The folder whose rules hold for a source: the next one above it that has any.
tidy_rules() {
	local folder
	folder=$(dirname "$1")
	while [[ ! -e $folder/.clang-tidy && $folder != / ]]; do
		folder=$(dirname "$folder")
	done
	echo "$folder"
}

# tidy_batches CACHE: "batch<tab>key<tab>source" for each "key<tab>source" of the standard input. A batch is up to
# TIDY_BATCH sources that are compiled alike and held to the same rules. A kernel, which includes itself for each target,
# stays alone, as does a program.
tidy_batches() {
	local cache=$1 key source batch=0 count=0 group='' last=
	declare -A flags=()
	while IFS=$'\t' read -r source group; do
		flags[$source]=$group
	done < <(jq -r '.[] | .file + "\t" + (.command | sub(" -o .*"; ""))' "$cache/compile_commands.json")
	while IFS=$'\t' read -r key source; do
		group=$(tidy_rules "$source")${flags[$source]}
		! grep -qE 'foreach_target|^int main\(' "$source" || group=$source
		if [[ $group != "$last" ]] || ((count == TIDY_BATCH)); then
			batch=$((batch + 1))
			count=0
		fi
		last=$group
		count=$((count + 1))
		printf '%s\t%s\t%s\n' "$batch" "$key" "$source"
	done < <(sort -t $'\t' -k 2)
}

# tidy_alone CACHE KEY SOURCE: one unit; quiet unless there is something to say. Its key becomes an empty file when
# it is clean.
tidy_alone() {
	local cache=$1 key=$2 source=$3 output
	if output=$(clang-tidy --quiet -p "$cache" "$source" 2>&1); then
		: >"$cache/$key"
	else
		printf '%s\n' "$output" | grep -v 'warnings generated\|warnings treated as errors'
		return 1
	fi
}

# tidy_together CACHE LIST: the "key<tab>source" lines of the file LIST, read as one unit that includes them: nearly
# all of the time goes into the headers that they share. The unit lies in a folder of its own with the rules of the
# sources. When it is not clean, its halves are looked at, down to single sources: only what is found there counts, since
# two sources may have one name for two things.
tidy_together() {
	local cache=$1 list=$2 unit=$2.d key source first count failed=0
	count=$(wc -l <"$list")
	IFS=$'\t' read -r key first <"$list"
	if ((count == 1)); then
		tidy_alone "$cache" "$key" "$first"
		return
	fi
	mkdir -p "$unit"
	cp "$(tidy_rules "$first")/.clang-tidy" "$unit/"
	cut -f 2 "$list" | sed 's/.*/#include "&"/' >"$unit/unit.cpp"
	jq --arg first "$first" --arg unit "$unit/unit.cpp" '[.[] | select(.file == $first)][:1]
		| map({directory, file: $unit, command: ((.command | sub(" -o .*"; "")) + " -c " + ($unit | gsub(" "; "\\ ")))})' \
		"$cache/compile_commands.json" >"$unit/compile_commands.json"
	if clang-tidy --quiet --checks=-bugprone-suspicious-include -p "$unit" "$unit/unit.cpp" >"$unit/output" 2>&1; then
		while IFS=$'\t' read -r key source; do
			: >"$cache/$key"
		done <"$list"
		return
	fi
	head -n $((count / 2)) "$list" >"$list.0"
	tail -n +$((count / 2 + 1)) "$list" >"$list.1"
	tidy_together "$cache" "$list.0" || failed=1
	tidy_together "$cache" "$list.1" || failed=1
	return "$failed"
}
export -f tidy_rules tidy_alone tidy_together

check_tidy() {
	local folder cache batches batch key source
	folder=$(build_folder linux)
	cache=$KALVIO_ROOT/build/clang-tidy
	batches=$cache/batches
	rm -rf "$batches"
	mkdir -p "$batches"
	tidy_database "$folder" >"$cache/compile_commands.json"
	while IFS=$'\t' read -r batch key source; do
		printf '%s\t%s\n' "$key" "$source" >>"$batches/$batch"
	done < <(tidy_keys "$folder" "$cache/compile_commands.json" | while IFS=$'\t' read -r key source; do
		[[ -e $cache/$key ]] || printf '%s\t%s\n' "$key" "$source"
	done | tidy_batches "$cache")
	set -- "$batches"/*
	[[ -e $1 ]] || return 0
	say "clang-tidy looks at $(cat "$@" | wc -l) sources that it has not found clean yet"
	# shellcheck disable=SC2016  # the inner bash's own arguments
	printf '%s\0' "$@" | xargs -0 -n 1 -P "$KALVIO_JOBS" bash -c 'tidy_together "$@"' bash "$cache"
}
