# shellcheck shell=bash
# SPDX-License-Identifier: GPL-2.0-or-later
#
# What every script shares: where things lie, how they speak, how they end.

if [[ -z ${BASH_VERSION:-} ]]; then
	echo "These scripts need bash." >&2
	exit 2
fi
set -euo pipefail

KALVIO_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
KALVIO_CACHE=${KALVIO_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/kalvio}
# Parallel jobs of builds and tests, one per core; KALVIO_JOBS overrides.
KALVIO_JOBS=${KALVIO_JOBS:-$(nproc)}
export KALVIO_ROOT KALVIO_CACHE KALVIO_JOBS
# chroot and others of the system's programs are not on the path of Debian's ordinary users.
PATH=$PATH:/usr/sbin:/sbin

say() { printf '==> %s\n' "$*"; }
warn() { printf 'warning: %s\n' "$*" >&2; }

# die MESSAGE...: every argument is one line; the first says what went wrong, the others how to mend it.
die() {
	printf 'error: %s\n' "$1" >&2
	shift
	(($# == 0)) || printf '       %s\n' "$@" >&2
	exit 1
}

# usage_error MESSAGE: wrong arguments, as opposed to work that failed.
usage_error() {
	printf '%s: %s\nTry "%s --help".\n' "$0" "$1" "$0" >&2
	exit 2
}

# print_help FILE: the comment block at the head of a script is its help text.
print_help() {
	awk 'NR <= 2 { next } /^#/ { sub(/^# ?/, ""); print; next } { exit }' "$1"
}

# parse_arguments [FORM TARGET]... -- [ARGUMENT]...: a form of arguments, and the variable that they set:
#   --check check=1     this argument sets this value
#   --host= host        an option with a value, as --host VALUE or --host=VALUE; what stands after "=" here is said to
#                       be missing ("a value")
#   '*' files+          any other without a dash; with "+" it is appended to an array, else the last one counts
#   '-*' others+        any other with a dash
# --help and -h print the head of the script.
parse_arguments() {
	local form value
	local -i entry
	local -a table=()
	while [[ $1 != -- ]]; do
		table+=("$1" "$2")
		shift 2
	done
	while shift && (($#)); do
		[[ $1 != --help && $1 != -h ]] || { print_help "${BASH_SOURCE[1]}" && exit 0; }
		for ((entry = 0; entry < ${#table[@]}; entry += 2)); do
			form=${table[entry]}
			case $form in
			'*') [[ $1 == -* ]] || break ;;
			'-*') [[ $1 != -* ]] || break ;;
			*=*) [[ $1 != "${form%%=*}" && $1 != "${form%%=*}="* ]] || break ;;
			*) [[ $1 != "$form" ]] || break ;;
			esac
		done
		((entry < ${#table[@]})) || usage_error "unknown argument: $1"
		value=$1
		if [[ $form == *=* && $1 == *=* ]]; then
			value=${1#*=}
		elif [[ $form == *=* ]]; then
			form=${form#*=}
			(($# >= 2)) || usage_error "$1 needs ${form:-a value}"
			value=$2
			shift
		fi
		case ${table[entry + 1]} in
		*=*) printf -v "${table[entry + 1]%%=*}" %s "${table[entry + 1]#*=}" ;;
		*+)
			local -n list=${table[entry + 1]%+}
			list+=("$value")
			;;
		*) printf -v "${table[entry + 1]}" %s "$value" ;;
		esac
	done
}

# timed LABEL COMMAND...: runs the command and says how long it took; say_timings says it again for all of them, the longest
# first.
timings=()
timed() {
	local label=$1 start=$SECONDS
	shift
	say "$label"
	"$@"
	say "$label: done in $((SECONDS - start)) s"
	timings+=("$((SECONDS - start)) s: $label")
}

say_timings() {
	say "$SECONDS s so far"
	((${#timings[@]} == 0)) || printf '      %s\n' "${timings[@]}" | sort -k 1 -n -r
}

# log_tail FILE: what a background step wrote last, for the message about its failure.
log_tail() {
	[[ -s $1 ]] && tail -n 25 "$1" | sed 's/^/  | /' >&2
	return 0
}
