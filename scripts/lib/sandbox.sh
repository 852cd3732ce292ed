# shellcheck shell=bash
# SPDX-License-Identifier: GPL-2.0-or-later
#
# Run-only Debian systems that hold another release's OBS. They lie in $KALVIO_CACHE, are made once, and are entered in
# namespaces of their own: nothing that runs inside outlives the call, reaches the network or sees the machine's files
# except those that are handed in.

# The versions of OBS that everything is tested in, each with the Debian release that has it.
declare -rA SANDBOX_SUITE=([30]=trixie [32]=forky)
# qt6-svg-plugins: without it OBS has no icons. fonts-dejavu-core: without any font the windows show boxes.
# The last line is what the module links and OBS does not bring.
SANDBOX_PACKAGES=obs-studio,xvfb,xauth,libgl1-mesa-dri,qt6-svg-plugins,fonts-dejavu-core,procps
SANDBOX_PACKAGES+=,libcurl4t64,libjpeg62-turbo,libpng16-16t64
readonly SANDBOX_PACKAGES
# Part of the stamp: raise it when sandbox_bootstrap changes in a way that the existing sandboxes lack.
readonly SANDBOX_RECIPE=1

sandbox_hosts() { printf '%s\n' "${!SANDBOX_SUITE[@]}" | sort -n; }

# sandbox_has_host WORD: whether it is one of these versions.
sandbox_has_host() { sandbox_hosts | grep -xF -e "$1" >/dev/null; }

sandbox_root() { printf '%s/%s' "$KALVIO_CACHE" "${SANDBOX_SUITE[$1]}"; }

sandbox_stamp() { printf 'recipe %s suite %s packages %s' "$SANDBOX_RECIPE" "${SANDBOX_SUITE[$1]}" "$SANDBOX_PACKAGES"; }

sandbox_ready() {
	local stamp
	stamp=$(sandbox_root "$1")/.kalvio-recipe
	[[ -f $stamp && $(<"$stamp") == "$(sandbox_stamp "$1")" ]]
}

# The command prefix that makes us root of new namespaces: real root needs no user namespace, everybody else maps
# themselves to root and their subordinate ids to the other users of the sandbox.
sandbox_enter_prefix() {
	enter_prefix=(unshare)
	((EUID == 0)) || enter_prefix+=(--user --map-root-user --map-auto)
	enter_prefix+=(--mount --pid --fork --kill-child=SIGKILL)
}

# sandbox_package_groups: what must be installed to make and enter sandboxes as the present user.
sandbox_package_groups() {
	printf 'sandbox'
	((EUID == 0)) || printf ' userns'
}

sandbox_check_user() {
	local -a enter_prefix
	((EUID != 0)) || return 0
	sandbox_enter_prefix
	"${enter_prefix[@]}" true 2>/dev/null && return 0
	die "This system does not let an ordinary user make a sandbox." \
		"It takes user namespaces (sysctl user.max_user_namespaces, kernel.unprivileged_userns_clone," \
		"kernel.apparmor_restrict_unprivileged_userns) and ids for '$(id -un)' in /etc/subuid and /etc/subgid:" \
		"  usermod --add-subuids 100000-165535 --add-subgids 100000-165535 $(id -un)" \
		"Or run the script as root."
}

# The mirror this machine itself gets Debian from. Empty elsewhere: mmdebstrap then takes Debian's default mirror.
sandbox_mirror() {
	[[ -z ${KALVIO_DEBIAN_MIRROR:-} ]] || { printf '%s' "$KALVIO_DEBIAN_MIRROR" && return; }
	have_apt || return 0
	# shellcheck disable=SC2016  # apt's own place holder
	apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Label: Debian' 2>/dev/null |
		awk '/^https?:/ && !found { print; found = 1 }'
}

# sandbox_bootstrap SUITE FOLDER ARCHIVES: the recipe. Runs as root of a mount namespace of its own. The downloaded
# archives are kept in a folder outside, so that an interrupted run goes on where it stopped.
sandbox_bootstrap() {
	local suite=$1 folder=$2 archives=$3 mirror proxy keyring=/usr/share/keyrings/debian-archive-keyring.gpg
	local -a source=()
	mirror=$(sandbox_mirror)
	[[ -z $mirror ]] || source=("deb [signed-by=$keyring] $mirror $suite main")
	proxy=$(apt-config shell value Acquire::http::Proxy | sed -n "s/^value='\(.*\)'$/\1/p")
	[[ -z $proxy || -n ${http_proxy:-} ]] || export http_proxy=$proxy
	# Check-Valid-Until: the index of a mirror snapshot, or a machine whose clock is off, would be refused as expired;
	# the signature is still checked.
	umask 022
	# shellcheck disable=SC2016  # mmdebstrap sets $1 for its hook
	KALVIO_ARCHIVES=$archives exec mmdebstrap --quiet --mode=root --variant=apt --format=directory \
		--skip=essential/unlink,cleanup/apt/cache,chroot/mount/sys \
		--setup-hook='mkdir -p "$1/var/cache/apt/archives" && mount --bind "$KALVIO_ARCHIVES" "$1/var/cache/apt/archives"' \
		--aptopt='Acquire::Languages "none"' \
		--aptopt='Acquire::Check-Valid-Until "false"' \
		--aptopt='Acquire::Retries "3"' \
		--aptopt='APT::Install-Recommends "false"' \
		--aptopt='APT::Sandbox::User "root"' \
		--dpkgopt='path-exclude=/usr/share/man/*' \
		--dpkgopt='path-exclude=/usr/share/doc/*' \
		--dpkgopt='path-exclude=/usr/share/locale/*' \
		--include="$SANDBOX_PACKAGES" "$suite" "$folder" "${source[@]}"
}

# A sandbox may hold files of subordinate ids, which only root of the same user namespace can remove.
sandbox_delete_folder() {
	local -a enter_prefix
	[[ -e $1 ]] || return 0
	sandbox_enter_prefix
	"${enter_prefix[@]}" rm -rf --one-file-system -- "$1"
}

# sandbox_ensure HOST: makes the sandbox unless it is there, and waits for another process that is making it. The new
# one grows under a temporary name and is renamed when complete, so that there never is half a sandbox. Sets traps and
# exits: to be run through scripts/lib/call, and ended by a signal to that process.
sandbox_ensure() {
	local host=$1 suite=${SANDBOX_SUITE[$1]} final start=$SECONDS
	local archives=$KALVIO_CACHE/archives/$suite
	local -a enter_prefix
	final=$(sandbox_root "$host")
	growing=$final.incomplete
	maker=
	! sandbox_ready "$host" || return 0
	sandbox_check_user
	mkdir -p "$KALVIO_CACHE"
	exec 9>"$KALVIO_CACHE/$suite.lock"
	if ! flock -n 9; then
		say "another process is making the $suite sandbox; waiting for it"
		flock 9
	fi
	! sandbox_ready "$host" || return 0
	[[ ! -e $final || -O $final ]] ||
		die "$final belongs to another user." "Set KALVIO_CACHE to a folder of your own."

	say "making the $suite sandbox for OBS $host.x in $final (about 215 MB to fetch, 700 MB on disk)"
	sandbox_delete_folder "$growing"
	mkdir -p "$archives/partial"
	sandbox_enter_prefix
	trap sandbox_abandon EXIT
	trap 'exit 130' INT TERM HUP
	# The maker inherits the lock: should only this shell be killed, nobody else begins before it has ended.
	# --mount-proc: mmdebstrap looks at /proc, and the namespace has process ids of its own.
	"${enter_prefix[@]}" --mount-proc "$KALVIO_ROOT/scripts/lib/call" \
		sandbox_bootstrap "$suite" "$growing" "$archives" </dev/null &
	maker=$!
	wait "$maker" || die "The $suite sandbox could not be made; mmdebstrap's message stands above." \
		"What was fetched is kept in $archives: run the same command again to go on."
	maker=
	mkdir -p "$growing/kalvio"
	sandbox_stamp "$host" >"$growing/.kalvio-recipe"
	sandbox_delete_folder "$final"
	mv -T "$growing" "$final"
	# A test of fresh systems keeps them for the next one.
	[[ -n ${KALVIO_KEEP_PACKAGES:-} ]] || rm -rf -- "$archives"
	exec 9>&-
	say "$suite sandbox: done in $((SECONDS - start)) s, OBS $(sandbox_obs_version "$host")"
}

# sandbox_ensure_each HOST...: one after the other; to be run and ended like sandbox_ensure.
sandbox_ensure_each() {
	local host
	for host in "$@"; do
		sandbox_ensure "$host"
	done
}

# What an unfinished sandbox_ensure leaves: with the namespace's first process die all the others in it.
sandbox_abandon() {
	if [[ -n $maker ]]; then
		kill -KILL "$maker" 2>/dev/null || true
		wait "$maker" 2>/dev/null || true
	fi
	sandbox_delete_folder "$growing"
}

# sandbox_exec HOST [--display] [--bind SOURCE TARGET]... [--around PROGRAM FOLDER] -- COMMAND...: runs the command as root
# of the sandbox, with the environment emptied. SOURCE, a file or folder of this machine, is seen as TARGET, which is under
# /kalvio or there already, and writable. --display hands in the user's X server, graphics and cameras; without it the
# command has no network and no devices. PROGRAM of this machine is run as PROGRAM FOLDER COMMAND... in the network of the
# sandbox, and runs the command; what it starts beside must end with it. When the calling process dies, so does everything
# inside. Replaces the calling subshell.
sandbox_exec() (
	host=$1
	shift
	sandbox_ready "$host" || die "There is no sandbox for OBS $host.x." "scripts/run --host $host makes it."
	root=$(sandbox_root "$host")
	enter=(bwrap --die-with-parent)
	((EUID == 0)) || enter+=(--unshare-user --uid 0 --gid 0)
	process_files=(--proc /proc)
	# Refused where /proc of the machine is partly hidden (some containers); OBS does without.
	"${enter[@]}" --unshare-pid --dev-bind / / --proc /proc true 2>/dev/null || process_files=(--tmpfs /proc)
	# Shared memory with the X server is found by ids of the ipc namespace: only a display inside may have its own.
	network=(--unshare-net --unshare-ipc)
	display=()
	handed_in=()
	around=()
	while [[ $1 != -- ]]; do
		case $1 in
		--display)
			network=()
			mapfile -d '' -t display < <(sandbox_display)
			shift
			;;
		--bind)
			handed_in+=("${@:1:3}")
			shift 3
			;;
		--around)
			around=("${enter[@]}" --unshare-net --cap-add ALL --dev-bind / / -- "$2" "$3")
			network=(--unshare-ipc)
			shift 3
			;;
		esac
	done
	shift
	# Held while anything runs inside: sandbox_remove_all waits for nobody and refuses instead.
	exec 8>>"$KALVIO_CACHE/${SANDBOX_SUITE[$host]}.lock"
	flock -s 8
	exec "${around[@]}" "${enter[@]}" --unshare-pid "${network[@]}" --clearenv --setenv PATH /usr/bin:/bin --bind "$root" / \
		"${process_files[@]}" --dev /dev --tmpfs /tmp --tmpfs /kalvio "${display[@]}" "${handed_in[@]}" --remount-ro / -- "$@"
)

# What bubblewrap is told to hand in the user's display, each word ended by a zero byte.
sandbox_display() {
	local cookie=${XAUTHORITY:-${HOME:-/root}/.Xauthority} device
	local -a words=(--setenv DISPLAY "${DISPLAY:-}")
	words+=(--ro-bind-try /tmp/.X11-unix /tmp/.X11-unix --dev-bind-try /dev/dri /dev/dri)
	for device in /dev/video*; do
		[[ ! -e $device ]] || words+=(--dev-bind "$device" "$device")
	done
	[[ ! -r $cookie ]] || words+=(--ro-bind "$cookie" /tmp/.Xauthority --setenv XAUTHORITY /tmp/.Xauthority)
	printf '%s\0' "${words[@]}"
}

# The version of the OBS inside, without starting it.
sandbox_obs_version() {
	awk '/^Package: obs-studio$/ { found = 1 } found && /^Version:/ { sub(/[+-].*/, "", $2); print $2; exit }' \
		"$(sandbox_root "$1")/var/lib/dpkg/status"
}

sandbox_remove_all() {
	local host suite
	for host in "${!SANDBOX_SUITE[@]}"; do
		suite=${SANDBOX_SUITE[$host]}
		(
			[[ -d $KALVIO_CACHE ]] || exit 0
			exec 9>"$KALVIO_CACHE/$suite.lock"
			flock -n 9 || die "The $suite sandbox is in use; try again when it is not."
			sandbox_delete_folder "$(sandbox_root "$host")"
			sandbox_delete_folder "$(sandbox_root "$host").incomplete"
			rm -rf -- "$KALVIO_CACHE/archives/$suite" "$KALVIO_CACHE/$suite.lock"
		)
	done
	rmdir --ignore-fail-on-non-empty -- "$KALVIO_CACHE/archives" "$KALVIO_CACHE" 2>/dev/null || true
}
