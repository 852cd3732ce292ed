// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/dock_host.h"

// There is no panel in this build: nothing to show and nothing to centre, and the front end never reports to it.
namespace kalvio {

void show_dock() {}

void schedule_prop_center() {}

bool frontend_ready() noexcept
{
	return false;
}

void start_dock_host() {}

void stop_dock_host() {}

} // namespace kalvio
