# shellcheck shell=bash
# SPDX-License-Identifier: GPL-2.0-or-later
#
# The README's two commands on a system that has just been set up: a Debian with nothing but git and sudo, in namespaces of
# its own, as root and as a user with the path that Debian gives him. The checkout is cloned there, into a folder with a
# space and letters beyond ASCII in its name. Of this machine the system gets the certificates and the settings of apt and
# npm, for it reaches its mirrors in no other way.
#
# Everything lies in $KALVIO_CACHE/bare: the systems as they were made, and the packages that were fetched, so that the next
# run need not fetch them again. Each run works on a copy, which is removed at its end.

declare -rA BARE_SUITE=([12]=bookworm [13]=trixie)
readonly BARE_PACKAGES=git,sudo
# Part of the stamp: raise it when bare_bootstrap changes what the existing systems lack.
readonly BARE_RECIPE=1
readonly BARE_USER=newcomer
readonly BARE_CHECKOUT=$'Meine Projekte \u00e4 \u65e5\u672c/obs-kalvio'

bare_folder() { printf '%s/bare' "$KALVIO_CACHE"; }

# The system of a Debian as it was made, and the packages that runs of it, or of sandboxes in it, have fetched.
bare_base() { printf '%s/%s' "$(bare_folder)" "${BARE_SUITE[$1]}"; }
bare_packages() { printf '%s/packages/%s' "$(bare_folder)" "$1"; }

bare_stamp() { printf 'recipe %s suite %s packages %s' "$BARE_RECIPE" "${BARE_SUITE[$1]}" "$BARE_PACKAGES"; }

# bare_bootstrap SUITE FOLDER: the recipe; runs as root of a mount namespace of its own. dpkg does not wait for the disk:
# a system that is lost with the machine's power is made again.
bare_bootstrap() {
	local suite=$1 folder=$2 mirror keyring=/usr/share/keyrings/debian-archive-keyring.gpg
	local -a source=()
	mirror=$(sandbox_mirror)
	[[ -z $mirror ]] || source=("deb [signed-by=$keyring] $mirror $suite main")
	umask 022
	export BARE_USER
	# shellcheck disable=SC2016  # mmdebstrap sets $1 for its hook
	exec mmdebstrap --quiet --mode=root --variant=minbase --format=directory --skip=chroot/mount/sys \
		--aptopt='Acquire::Check-Valid-Until "false"' --aptopt='Acquire::Retries "3"' --aptopt='APT::Sandbox::User "root"' \
		--dpkgopt=force-unsafe-io --include="$BARE_PACKAGES" \
		--customize-hook='chroot "$1" useradd --create-home --shell /bin/bash "$BARE_USER"' \
		--customize-hook='printf "%s ALL=(ALL) NOPASSWD: ALL\n" "$BARE_USER" >"$1/etc/sudoers.d/$BARE_USER"' \
		"$suite" "$folder" "${source[@]}"
}

# bare_ensure VERSION: makes the system unless it is there.
bare_ensure() {
	local version=$1 suite=${BARE_SUITE[$1]} final growing start=$SECONDS
	final=$(bare_base "$version")
	growing=$final.incomplete
	mkdir -p "$(bare_folder)"
	exec {lock}>"$final.lock"
	flock "$lock"
	if [[ ! -f $final.recipe || $(<"$final.recipe") != "$(bare_stamp "$version")" ]]; then
		say "making a Debian $version with nothing but git and sudo in $final (250 MB)"
		rm -rf --one-file-system -- "$growing" "$final" "$final.recipe"
		unshare --mount --pid --fork --kill-child=SIGKILL --mount-proc "$KALVIO_ROOT/scripts/lib/call" \
			bare_bootstrap "$suite" "$growing" {lock}>&- || die "The Debian $version could not be made; see above."
		mv -T "$growing" "$final"
		bare_stamp "$version" >"$final.recipe"
		say "Debian $version: done in $((SECONDS - start)) s"
	fi
	exec {lock}>&-
}

# bare_hand_in SYSTEM: this machine's ways to its mirrors.
bare_hand_in() {
	local system=$1 file folder=$1/usr/local/share/ca-certificates/machine
	cp /etc/resolv.conf "$system/etc/resolv.conf"
	printf '127.0.0.1 localhost %s\n' "$(uname -n)" >"$system/etc/hosts"
	if [[ -f /etc/ssl/certs/ca-certificates.crt ]]; then
		# One file each: so they stay trusted when the package ca-certificates comes and writes the list anew.
		mkdir -p "$folder" "$system/etc/ssl/certs"
		awk -v folder="$folder" '/BEGIN CERT/ { file = sprintf("%s/%03d.crt", folder, ++count) } { print >file }' \
			/etc/ssl/certs/ca-certificates.crt
		cp /etc/ssl/certs/ca-certificates.crt "$system/etc/ssl/certs/"
		cp /etc/ssl/certs/ca-certificates.crt "$system/etc/ssl/machine.crt"
	fi
	apt-config dump 2>/dev/null | grep -E '^Acquire::(http|https|Check|Retries|ForceIPv)' >"$system/etc/apt/apt.conf.d/machine" || true
	for file in /etc/apt/auth.conf /etc/apt/auth.conf.d /etc/npmrc; do
		[[ ! -e $file ]] || cp -a "$file" "$system/etc/${file#/etc/}"
	done
	for file in "$system/root" "$system/home/$BARE_USER"; do
		[[ ! -f ${HOME:-/root}/.npmrc ]] || install -m 600 "$HOME/.npmrc" "$file/.npmrc"
	done
	chown -R --reference="$system/home/$BARE_USER" "$system/home/$BARE_USER"
}

# bare_link_packages FROM TO: all packages of a folder into another one, as links where the file system has these.
bare_link_packages() {
	mkdir -p "$1" "$2"
	find "$1" -maxdepth 1 -name '*.deb' -exec cp --link --update --target-directory="$2" {} + 2>/dev/null ||
		find "$1" -maxdepth 1 -name '*.deb' -exec cp --update --target-directory="$2" {} +
}

# bare_share_packages put|take VERSION SYSTEM HOME: what was fetched before, by apt in the system and for the sandboxes that
# the scripts make there, goes in before a run and comes out after it.
bare_share_packages() {
	local direction=$1 version=$2 system=$3 home=$4 suite inside
	local -A folders=()
	for suite in "${SANDBOX_SUITE[@]}"; do
		folders[$home/.cache/kalvio/archives/$suite]=$suite
	done
	folders[$system/var/cache/apt/archives]=${BARE_SUITE[$version]}
	for inside in "${!folders[@]}"; do
		suite=${folders[$inside]}
		if [[ $direction == put ]]; then
			bare_link_packages "$(bare_packages "$suite")" "$inside"
		else
			bare_link_packages "$inside" "$(bare_packages "$suite")"
		fi
	done
	# The folders alone: the packages are the same files as outside.
	[[ ! -d $home/.cache ]] || find "$home/.cache" -type d -exec chown --reference="$home" {} +
}

# What a newcomer types: $1 is where the checkout goes, the others are the commands in it. The pictures must show that the
# filter was on.
# shellcheck disable=SC2016  # the inner shell's own variables
readonly BARE_COMMANDS='
	set -e
	git clone --quiet /srv/obs-kalvio.git "$1"
	cd "$1"
	shift
	for command in "$@"; do
		printf "\n\$ %s\n" "$command"
		start=$SECONDS
		$command
		printf "== %s: done in %s s\n" "$command" "$((SECONDS - start))"
	done
	cd build/run
	[ -s window.png ] && [ -s before.png ] && [ -s after.png ] && ! cmp -s before.png after.png'

# bare_enter SYSTEM USER SCRIPT...: the commands, as the user, with what a log-in gives him.
bare_enter() {
	local system=$1 user=$2 home=/root path=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin name
	local -a environment=(LANG=C.UTF-8)
	shift 2
	if [[ $user != root ]]; then
		home=/home/$user
		path=/usr/bin:/bin
	fi
	[[ ! -f $system/etc/ssl/machine.crt ]] || environment+=(NODE_EXTRA_CA_CERTS=/etc/ssl/machine.crt)
	for name in http_proxy https_proxy no_proxy KALVIO_JOBS KALVIO_DEBIAN_MIRROR; do
		[[ -z ${!name:-} ]] || environment+=("$name=${!name}")
	done
	exec unshare --mount --pid --ipc --fork --kill-child=SIGKILL "$KALVIO_ROOT/scripts/lib/bare-init" "$system" \
		/usr/sbin/runuser -u "$user" -- /usr/bin/env -i "HOME=$home" "USER=$user" "LOGNAME=$user" "PATH=$path" \
		KALVIO_KEEP_PACKAGES=1 KALVIO_IN_BARE=1 "${environment[@]}" /bin/bash -c "$BARE_COMMANDS" bash "$home/$BARE_CHECKOUT" "$@"
}

# bare_try VERSION USER SCRIPT...: the commands on a fresh Debian, as root or as BARE_USER. Sets traps and exits: to be run
# through scripts/lib/call.
bare_try() {
	local version=$1 user=$2 home start=$SECONDS log
	shift 2
	log=$KALVIO_ROOT/build/bare/debian-$version-$user.txt
	bare_ensure "$version"
	mkdir -p "$KALVIO_ROOT/build/bare"
	entered=
	trap bare_leave EXIT
	trap 'exit 130' INT TERM HUP
	system=$(mktemp -d "$(bare_folder)/run.XXXXXX")
	chmod 755 "$system"
	cp -a "$(bare_base "$version")/." "$system"
	home=$system/root
	[[ $user == root ]] || home=$system/home/$user
	git clone --quiet --bare --no-local --depth 1 -- "$KALVIO_ROOT" "$system/srv/obs-kalvio.git"
	chown -R --reference="$home" "$system/srv/obs-kalvio.git"
	bare_hand_in "$system"
	bare_share_packages put "$version" "$system" "$home"
	say "on a bare Debian $version, as $user: $* (log: build/bare/debian-$version-$user.txt)"
	"$KALVIO_ROOT/scripts/lib/call" bare_enter "$system" "$user" "$@" </dev/null >"$log" 2>&1 &
	entered=$!
	code=0
	wait "$entered" || code=$?
	entered=
	bare_share_packages take "$version" "$system" "$home"
	grep '^== ' "$log" || true
	if ((code != 0)); then
		log_tail "$log"
		die "That failed on a bare Debian $version, as $user; see above and build/bare/debian-$version-$user.txt."
	fi
	say "bare Debian $version, as $user: done in $((SECONDS - start)) s"
}

# With the namespace's first process die all the others in it.
bare_leave() {
	if [[ -n $entered ]]; then
		kill -KILL "$entered" 2>/dev/null || true
		wait "$entered" 2>/dev/null || true
	fi
	[[ -z ${system:-} ]] || rm -rf --one-file-system -- "$system"
}

# bare_suite INSTALL VERSION USER SCRIPT...: one such run, with what it takes on this machine. It makes users of another
# system, which takes root.
bare_suite() {
	local install=$1
	shift
	if ((EUID != 0)); then
		die "The bare system has users of its own, which only root can make." "sudo scripts/test --bare $1"
	fi
	ensure_packages "$install" sandbox
	[[ -z $(git -C "$KALVIO_ROOT" status --porcelain) ]] ||
		warn "the bare system gets what is committed: changes of this checkout that are not are left out"
	"$KALVIO_ROOT/scripts/lib/call" bare_try "$@"
}

bare_remove_all() { rm -rf --one-file-system -- "$(bare_folder)"; }
