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
