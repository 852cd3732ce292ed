# shellcheck shell=bash
# SPDX-License-Identifier: GPL-2.0-or-later
#
# The four checks of scripts/format. The working folder is the root of the checkout.

# The versions the sources are kept in shape with, those of Debian 12 and 13: the sources have a shape that both agree on.
# Others may break some lines elsewhere.
readonly LINT_FORMAT_VERSIONS=(14 19)

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

# The preset compiles what clang-tidy reads, and ninja knows what has changed since. Whatever is found, all are read.
check_tidy() {
	# shellcheck disable=SC2034  # build_targets reads both
	local -a configure=() options=(-- -k 0)
	build_targets linux-tidy obs-kalvio kalvio kalvio-apply kld-art kld-grade kld-nets kld-pack
}
