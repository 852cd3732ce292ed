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
# --help and -h print the head of the script. The names with "_" below are no targets.
parse_arguments() {
	local _form _value
	local -i _entry
	local -a _table=()
	while [[ $1 != -- ]]; do
		_table+=("$1" "$2")
		shift 2
	done
	while shift && (($#)); do
		[[ $1 != --help && $1 != -h ]] || { print_help "${BASH_SOURCE[1]}" && exit 0; }
		for ((_entry = 0; _entry < ${#_table[@]}; _entry += 2)); do
			_form=${_table[_entry]}
			case $_form in
			'*') [[ $1 == -* ]] || break ;;
			'-*') [[ $1 != -* ]] || break ;;
			*=*) [[ $1 != "${_form%%=*}" && $1 != "${_form%%=*}="* ]] || break ;;
			*) [[ $1 != "$_form" ]] || break ;;
			esac
		done
		((_entry < ${#_table[@]})) || usage_error "unknown argument: $1"
		_value=$1
		if [[ $_form == *=* && $1 == *=* ]]; then
			_value=${1#*=}
		elif [[ $_form == *=* ]]; then
			_form=${_form#*=}
			(($# >= 2)) || usage_error "$1 needs ${_form:-a value}"
			_value=$2
			shift
		fi
		case ${_table[_entry + 1]} in
		*=*) printf -v "${_table[_entry + 1]%%=*}" %s "${_table[_entry + 1]#*=}" ;;
		*+)
			local -n _list=${_table[_entry + 1]%+}
			_list+=("$_value")
			;;
		*) printf -v "${_table[_entry + 1]}" %s "$_value" ;;
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
