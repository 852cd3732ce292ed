// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/original_view.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <utility>

namespace kalvio {

namespace {

struct OriginalRequests {
	std::mutex mutex;
	std::array<OriginalTargets, original_requester_count> targets;
	std::atomic<bool> is_any = false; // spares the frames the lock while nobody asks
};

OriginalRequests &requests()
{
	// Never destroyed: frames may be drawn after the module's unload.
	static OriginalRequests &instance = *new OriginalRequests;
	return instance;
}

bool is_empty(const OriginalTargets &targets)
{
	return !targets.all && targets.ids.empty();
}

} // namespace

void show_original(OriginalRequester requester, OriginalTargets targets)
{
	OriginalRequests &state = requests();
	const std::lock_guard lock(state.mutex);
	std::swap(state.targets[static_cast<size_t>(requester)], targets);
	state.is_any = !std::ranges::all_of(state.targets, is_empty);
}

bool is_original_shown(uint64_t id) noexcept
{
	OriginalRequests &state = requests();
	if (!state.is_any)
		return false;
	const std::lock_guard lock(state.mutex);
	return std::ranges::any_of(state.targets, [id](const OriginalTargets &targets) {
		return targets.all || std::ranges::find(targets.ids, id) != targets.ids.end();
	});
}

} // namespace kalvio
