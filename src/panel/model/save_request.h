// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

// The host writes the scene collection when its own lists change, and does not notice what a module writes into a
// filter. It is asked once, a short while after the last of a series of changes: a save lists every source of the
// collection. User-interface thread.
namespace kalvio {

// The wait after a change, in polls of the panel (200 ms each): two seconds.
inline constexpr int polls_before_save = 10;

struct SaveRequest {
	int polls_left = 0; // 0: everything is saved, or will be by the host itself
};

// Something has changed: the wait begins anew.
void request_save(SaveRequest &request);

// One poll has passed. While the user holds a control the wait stands still.
void poll_save(SaveRequest &request, bool is_control_held);

// Asks the host at once if there is something to save.
void save_now(SaveRequest &request);

} // namespace kalvio
