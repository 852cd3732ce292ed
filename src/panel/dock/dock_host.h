// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

// The panel as the rest of the module sees it; no Qt here.
namespace kalvio {

// Creates the panel and its dock if needed, then shows and raises the dock. May be called from any thread, also without
// a user interface: it does its work on the user-interface thread.
void show_dock();

// Centers the hint and the button of the filter's properties view, one turn of the event loop later, when the host has
// built its widgets. Any thread, also without a user interface.
void schedule_prop_center();

// True once the front end has finished loading, except while it loads another scene collection: a filter that comes
// then was added by the user. Any thread.
bool frontend_ready() noexcept;

// The two ends of the dock's life, called by the module's entry points on the user-interface thread.
void start_dock_host();
void stop_dock_host();

// The effects of filters were switched elsewhere than in the panel, which follows. Any thread.
void show_switched_effects();

} // namespace kalvio
