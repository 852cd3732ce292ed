# shellcheck shell=bash
# SPDX-License-Identifier: GPL-2.0-or-later
#
# A real OBS with a throw-away profile: which one there is, what is written for it, how it runs, how it ended.
#
# Everything of one run lies in one WORK folder: config/ (what OBS calls XDG_CONFIG_HOME), home/, recordings/, out/.
# In a sandbox the same folder is seen as /kalvio/work, which is why paths in OBS's files come from `obs_seen`.

readonly OBS_PROFILE=Kalvio

# The major version of the OBS program installed here, and whether it can hold the module's Qt 6 panel. "0" without OBS.
native_obs_major() {
	local version
	version=$(obs --version 2>/dev/null | sed -n 's/.*- \([0-9]*\)\..*/\1/p') || true
	echo "${version:-0}"
}

# Asked before anything is taken out of the output: a reader that leaves at the first match ends ldd by SIGPIPE, and with
# pipefail that looks like no match.
native_obs_is_qt6() {
	local libraries
	libraries=$(ldd "$(command -v obs)" 2>/dev/null) || return 1
	[[ $libraries == *libQt6Core* ]]
}

native_obs_usable() { (($(native_obs_major) >= 30)) && native_obs_is_qt6; }

# native_obs_installable MAY_UPDATE: whether apt would install an OBS that is new enough; both systems build theirs with
# Qt 6 from 28 on, except Debian 12. On a machine without package lists, they are fetched first if MAY_UPDATE is 1.
native_obs_installable() {
	local version
	have_apt || return 1
	version=$(package_candidate obs-studio)
	if [[ -z $version ]] && (($1)); then
		update_package_lists >&2
		version=$(package_candidate obs-studio)
	fi
	version=${version#*:}
	version=${version%%.*}
	[[ $version =~ ^[0-9]+$ ]] && ((version >= 30))
}

# obs_seen HOST WORK: the path of WORK as the OBS program of HOST sees it.
obs_seen() { if [[ $1 == native ]]; then printf '%s' "$2"; else printf '/kalvio/work'; fi; }

# obs_lib_seen HOST: the folder of this file as programs of HOST see it.
obs_lib_seen() { if [[ $1 == native ]]; then printf '%s/scripts/lib' "$KALVIO_ROOT"; else printf '/kalvio/lib'; fi; }

# obs_write_profile HOST WORK WIDTH HEIGHT [LANGUAGE]: settings that open OBS at once: no wizard, no update check, no
# question at closing. 30 reads global.ini, 31 and later user.ini: both get the same text. What 31 finds without a version
# or with an older one's it copies from global.ini to user.ini, and stops at a message when that is there already, unless
# it is told that this has been done. The version is that of 30.2.3: 32 goes the same way only when there is one.
obs_write_profile() {
	local host=$1 work=$2 width=$3 height=$4 language=${5:-en-US} config=$2/config/obs-studio seen
	seen=$(obs_seen "$host" "$work")
	mkdir -p "$config/basic/profiles/$OBS_PROFILE" "$config/basic/scenes" "$work/recordings" "$work/out" \
		"$work/home" "$work/cache" "$work/data"
	install -d -m 700 "$work/runtime"
	cat >"$config/global.ini" <<-INI
		[General]
		FirstRun=true
		WarnedAboutClosingDocks=true
		EnableAutoUpdates=false
		Language=$language
		LastVersion=503447555
		Pre31Migrated=true
		[Basic]
		Profile=$OBS_PROFILE
		ProfileDir=$OBS_PROFILE
		SceneCollection=$OBS_PROFILE
		SceneCollectionFile=$OBS_PROFILE
	INI
	cp "$config/global.ini" "$config/user.ini"
	cat >"$config/basic/profiles/$OBS_PROFILE/basic.ini" <<-INI
		[General]
		Name=$OBS_PROFILE
		[Video]
		BaseCX=$width
		BaseCY=$height
		OutputCX=$width
		OutputCY=$height
		FPSType=0
		FPSCommon=30
		[SimpleOutput]
		FilePath=$seen/recordings
	INI
}

# obs_write_look WORK LOOK: OBS starts with this look: dark or light, its own themes, and after a dash the font size of its
# appearance settings (8 to 12), as in dark-12. OBS 30 has no such setting: there, and in 32 too, a theme of one's own
# says it.
obs_write_look() {
	local config=$1/config/obs-studio theme=com.obsproject.Yami.Original file
	[[ ${2%-*} == dark ]] || theme=com.obsproject.Yami.Light
	if [[ $2 == *-* ]]; then
		mkdir -p "$config/themes"
		cat >"$config/themes/sized.ovt" <<-THEME
			@OBSThemeMeta {
			    name: 'Sized';
			    id: 'org.example.Sized';
			    extends: '$theme';
			    author: 'Test';
			    dark: '$([[ ${2%-*} == dark ]] && echo true || echo false)';
			}
			@OBSThemeVars {
			    --font_base_value: ${2#*-};
			}
		THEME
		theme=org.example.Sized
	fi
	for file in "$config/global.ini" "$config/user.ini"; do
		printf '[Appearance]\nTheme=%s\n' "$theme" >>"$file"
	done
}

# The source type that shows a file: OBS's image source knows these endings, its media source opens everything else.
obs_source_type() {
	case ${1,,} in
	*.png | *.jpg | *.jpeg | *.bmp | *.tga | *.gif | *.webp) echo image_source ;;
	*) echo ffmpeg_source ;;
	esac
}

# obs_write_scene WORK NAME FILE WIDTH HEIGHT FILTERS: one scene with one source that shows FILE (a path as OBS sees it),
# fitted into the canvas. FILTERS is a JSON array of OBS's own form.
obs_write_scene() {
	local work=$1 name=$2 file=$3 width=$4 height=$5 filters=$6
	jq -n --arg collection "$OBS_PROFILE" --arg name "$name" --arg file "$file" --arg type "$(obs_source_type "$file")" \
		--argjson width "$width" --argjson height "$height" --argjson filters "$filters" '
		{
			name: $collection, current_scene: "Scene", current_program_scene: "Scene", scene_order: [{name: "Scene"}],
			sources: [
				{id: "scene", name: "Scene", settings: {id_counter: 1, items: [{
					name: $name, id: 1, visible: true, bounds_type: 2, bounds_align: 0, bounds: {x: $width, y: $height}
				}]}},
				{id: $type, name: $name, filters: $filters, settings:
					(if $type == "image_source" then {file: $file}
					else {local_file: $file, is_local_file: true, looping: true} end)}
			]
		}' >"$work/config/obs-studio/basic/scenes/$OBS_PROFILE.json"
}

# obs_filter_json SETTINGS: the filter as an element of a source's "filters".
obs_filter_json() {
	jq -n --argjson settings "$1" '{id: "kalvio_filter", name: "Kalvio", enabled: true, settings: $settings}'
}

# obs_install_plugin WORK FOLDER: puts a plug-in, laid out as a user installs it, into the run's own plug-in folder.
obs_install_plugin() {
	[[ -d $2 ]] || die "$2 is not built."
	mkdir -p "$1/config/obs-studio/plugins"
	cp -r "$2" "$1/config/obs-studio/plugins/"
}

# obs_run HOST WORK SECONDS [--bind SOURCE TARGET]... [--around PROGRAM FOLDER] [NAME=VALUE]...: runs OBS on a virtual screen with the variables
# set, and kills it after SECONDS. The exit code is that of OBS; its output goes to WORK/out/obs.txt.
obs_run() {
	local host=$1 work=$2 seconds=$3
	local -a options=() variables=() environment=()
	shift 3
	while (($#)); do
		if [[ $1 == --bind || $1 == --around ]]; then
			options+=("${@:1:3}")
			shift 3
		else
			variables+=("$1")
			shift
		fi
	done
	obs_environment "$(obs_seen "$host" "$work")"
	environment+=(LIBGL_ALWAYS_SOFTWARE=1 QT_QPA_PLATFORM=xcb)
	# Only OBS gets the variables: among them may be a library to preload, which is no business of the X server's.
	obs_start "$host" "$work" "$seconds" "${options[@]}" -- env -i PATH=/usr/local/bin:/usr/bin:/bin "${environment[@]}" \
		"$(obs_lib_seen "$host")/on-virtual-screen" env "${variables[@]}" obs --multi --verbose \
		</dev/null >"$work/out/obs.txt" 2>&1
}

# obs_open HOST WORK [--bind SOURCE TARGET]...: opens OBS on the user's own screen and waits until it is closed.
obs_open() {
	local host=$1 work=$2
	local -a environment=()
	shift 2
	obs_environment "$(obs_seen "$host" "$work")"
	if [[ $host == native ]]; then
		# The desktop's own sockets (sound, Wayland) lie in the user's runtime folder.
		environment+=(XDG_RUNTIME_DIR="${XDG_RUNTIME_DIR:-$work/runtime}")
	else
		environment+=(QT_QPA_PLATFORM=xcb)
	fi
	obs_start "$host" "$work" 0 --display "$@" -- env "${environment[@]}" obs --multi --verbose >"$work/out/obs.txt" 2>&1
}

# obs_start HOST WORK SECONDS [OPTION]... -- COMMAND...: the command natively, or in the sandbox with sandbox_exec's options,
# killed after SECONDS unless that is 0. The limit stays outside: with it dies the sandbox's first process, and with that
# every other one inside.
obs_start() {
	local host=$1 work=$2 seconds=$3
	local -a limit=() options=()
	shift 3
	((seconds == 0)) || limit=(obs_limited "$seconds")
	while [[ $1 != -- ]]; do
		options+=("$1")
		shift
	done
	shift
	if [[ $host == native ]]; then
		"${limit[@]}" "$@"
	else
		"${limit[@]}" "$KALVIO_ROOT/scripts/lib/call" sandbox_exec "$host" "${options[@]}" \
			--bind "$KALVIO_ROOT/scripts/lib" "$(obs_lib_seen "$host")" --bind "$work" "$(obs_seen "$host" "$work")" -- "$@"
	fi
}

# obs_limited SECONDS COMMAND...: runs the command and kills it, with all that it has started, after SECONDS. That makes it
# a process group of its own, which the terminal's Ctrl-C does not reach; so it is ended from here when this shell is to
# end.
obs_limited() {
	local seconds=$1 group code=0
	shift
	timeout --signal=KILL "$seconds" "$@" &
	group=$!
	# shellcheck disable=SC2064  # the group that is running now
	trap "obs_end_group $group; exit 130" INT TERM HUP
	wait "$group" || code=$?
	trap - INT TERM HUP
	return "$code"
}

# obs_end_group GROUP: asks first, so that the virtual screen removes its files; five seconds later nobody is asked.
obs_end_group() {
	local tenth
	trap '' INT TERM HUP
	kill -TERM "$1" 2>/dev/null || true
	for ((tenth = 0; tenth < 50; tenth++)); do
		kill -0 -- "-$1" 2>/dev/null || break
		sleep 0.1
	done
	kill -KILL -- "-$1" 2>/dev/null || true
	wait "$1" 2>/dev/null || true
}

# obs_environment SEEN: fills `environment` with what keeps OBS's files inside the run's folder.
obs_environment() {
	environment=(HOME="$1/home" XDG_CONFIG_HOME="$1/config" XDG_CACHE_HOME="$1/cache" XDG_DATA_HOME="$1/data"
		XDG_RUNTIME_DIR="$1/runtime" LC_ALL=C.UTF-8)
}

# The newest log that OBS itself wrote in WORK; it has the lines of every thread in order.
obs_log() {
	local -a logs=("$1"/config/obs-studio/logs/*.txt)
	[[ -f ${logs[-1]} ]] && printf '%s' "${logs[-1]}"
}

# obs_module_lines LOG: what the module logged, without OBS's time stamps.
obs_module_lines() { sed -n 's/^[0-9:.]* *\(\[Kalvio\].*\)$/\1/p' "$1"; }

# obs_ended_cleanly WORK CODE: true when OBS closed by itself, freed all it had allocated and unloaded the module. Says
# what is not so.
obs_ended_cleanly() {
	local work=$1 code=$2 log leaks clean=1
	if ((code == 137)); then
		warn "OBS was killed: it did not end in time"
		clean=0
	elif ((code != 0)); then
		warn "OBS ended with code $code"
		clean=0
	fi
	log=$(obs_log "$work") || { warn "OBS left no log; its output is in $work/out/obs.txt" && return 1; }
	leaks=$(sed -n 's/.*Number of memory leaks: \([0-9]*\).*/\1/p' "$log" | tail -n 1)
	if [[ $leaks != 0 ]]; then
		warn "memory leaks counted by OBS: ${leaks:-no count, it did not get that far}"
		clean=0
	fi
	if ! grep -qF '[Kalvio] unloaded' "$log"; then
		warn "the module was not unloaded"
		clean=0
	fi
	((clean))
}
