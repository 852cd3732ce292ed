# shellcheck shell=bash
# SPDX-License-Identifier: GPL-2.0-or-later
#
# The probe module inside a run of OBS: it drives OBS and reports, one JSON object a line, in out/report.jsonl.

# probe_install WORK BUILD: the probe beside the product, and the libraries that are loaded in front of all others: the
# frame counter stands before the engine, the clock before the system's.
probe_install() {
	obs_install_plugin "$1" "$2/tests/obs/probe/plugins/kalvio-probe"
	mkdir -p "$1/probe"
	cp "$2"/tests/obs/probe/libkalvio-{frame-counter,process-clock}.so "$1/probe/"
}

# probe_run HOST WORK CASE SECONDS [OPTION]... [NAME=VALUE]...: one run of OBS that ends by itself, with the
# options of obs_run, beside the download server if one was made. The libraries go by their names, and their folder by a variable of its own: the linker takes every
# space in LD_PRELOAD for the end of a name.
probe_run() {
	local host=$1 work=$2 case=$3 seconds=$4 seen
	shift 4
	seen=$(obs_seen "$host" "$work")
	[[ ! -d $work/server ]] || set -- --around "$KALVIO_ROOT/tests/obs/serve_updates" "$work/server" \
		--bind "$work/server/hosts" /etc/hosts --bind "$work/server/certificates" /etc/ssl/certs \
		--bind "$work/server/bin" /usr/local/bin "$@"
	obs_run "$host" "$work" "$seconds" "$@" KALVIO_PROBE_CASE="$case" KALVIO_PROBE_OUT="$seen/out" \
		LD_LIBRARY_PATH="$seen/probe" LD_PRELOAD=libkalvio-frame-counter.so:libkalvio-process-clock.so
}

# probe_make_server WORK BUILD: the files of a download server that has nothing new for whatever version runs. The OBS of
# the next runs finds it: the very module that users get asks its own address, which leads there by the list of hosts, and
# with a certificate of an authority that is trusted inside.
probe_make_server() {
	local folder=$1/server
	mkdir -p "$folder"/{bin,certificates,temporary}
	sed -n 's/^KALVIO_DOWNLOAD_BASE:[A-Z]*=//p' "$2/CMakeCache.txt" >"$folder/base"
	echo '{"version": "0.0.1"}' >"$folder/latest.json"
	echo /kalvio/obs/latest.json >"$folder/answer"
	printf '127.0.0.1 localhost %s\n' "$(sed -E 's,^https://([^:/]+).*,\1,' "$folder/base")" >"$folder/hosts"
	cat >"$folder/bin/xdg-open" <<-'END'
		#!/bin/sh
		printf '%s\n' "$@" >>/kalvio/work/server/opened.txt
	END
	chmod +x "$folder/bin/xdg-open"
}

# probe_print_facts WORK: what the probe stated, as lines for people.
probe_print_facts() {
	[[ -f $1/out/report.jsonl ]] || return 0
	jq -r 'select(.fact) | (if .ok then "ok      " else "FAILED  " end) + .fact
		+ (if .seen != "" then " (" + .seen + ")" else "" end)' "$1/out/report.jsonl"
}

# probe_passed WORK CASE: true when the case ran to its end and every fact held.
probe_passed() {
	local report=$1/out/report.jsonl
	[[ -s $report ]] || { warn "the probe did not report: was it loaded?" && return 1; }
	if ! jq -e -s --arg case "$2" 'any(.[]; .finished == $case) and all(.[]; .ok != false)' "$report" >/dev/null; then
		warn "the case did not pass"
		return 1
	fi
}
