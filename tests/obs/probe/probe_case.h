// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <span>

namespace kalvio::probe {

// One run of OBS: `run` is called on the main thread when OBS has finished loading, states its facts with check(), and
// returns. It may leave windows open; OBS is closed afterwards as by File > Exit.
struct ProbeCase {
	const char *name;
	void (*run)();
	bool may_complain = false; // the module is expected to log warnings or errors
};

std::span<const ProbeCase> picture_cases(); // what a source looks like
std::span<const ProbeCase> filter_cases();  // filters that come, go and are copied
std::span<const ProbeCase> host_cases();    // the module in OBS's lists, dialogs, collections and restarts
std::span<const ProbeCase> dock_cases();    // the panel's dock and the properties view
std::span<const ProbeCase> drag_cases();    // a slider at work while OBS draws
std::span<const ProbeCase> live_cases();    // what happens while OBS is on air
std::span<const ProbeCase> look_cases();    // the panel under the style sheet of OBS
std::span<const ProbeCase> hotkey_cases();  // the module's hot keys in OBS's list
std::span<const ProbeCase> value_cases();   // values that are typed, and their defaults
std::span<const ProbeCase> undo_cases();    // what the user does in the panel: undone, saved, kept
std::span<const ProbeCase> failure_cases(); // what is missing
std::span<const ProbeCase> update_cases();  // what the download server says, and when it says nothing
std::span<const ProbeCase> grab_cases();    // pictures of the panel
std::span<const ProbeCase> sample_cases();  // pictures for people
std::span<const ProbeCase> soak_cases();    // everything at once, for as long as it is asked to

} // namespace kalvio::probe
