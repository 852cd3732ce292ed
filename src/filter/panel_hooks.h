// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

namespace kalvio {

inline void ignore_call() {}
inline bool never_ready() noexcept
{
	return false;
}

// What the filter asks of the panel, which it does not know. Any thread may call them.
struct PanelHooks {
	void (*show_dock)() = ignore_call;               // shows and raises the panel; may throw std::bad_alloc
	void (*schedule_prop_center)() = ignore_call;    // tidies the properties view once the host has built it
	bool (*frontend_ready)() noexcept = never_ready; // true when a new filter is the user's
	void (*effects_switched)() = ignore_call; // the setting "enabled" of filters has changed; may throw as above
};

// Set by the module before it registers the filter, and left alone from then on. Initially they do nothing.
inline constinit PanelHooks panel_hooks = {};

} // namespace kalvio
