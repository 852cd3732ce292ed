// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <vector>

// Sources that are shown as captured for as long as somebody asks for it, whatever their filters are set to. Nothing of
// it is stored in settings, and it reaches whatever shows the source, the stream and the recording too. Any thread.
namespace kalvio {

// Who asks; each has one request at a time.
enum class OriginalRequester { Panel, Hotkey };

inline constexpr int original_requester_count = 2;

struct OriginalTargets {
	bool all = false;          // every filter, also one that is made later
	std::vector<uint64_t> ids; // of filters, see filter_registry.h; ids that are gone are ignored

	bool operator==(const OriginalTargets &) const = default;
};

// Takes the place of what `requester` asked for before. Empty targets end its request.
void show_original(OriginalRequester requester, OriginalTargets targets);

// Whether the frames of filter `id` pass through unprocessed now.
bool is_original_shown(uint64_t id) noexcept;

} // namespace kalvio
