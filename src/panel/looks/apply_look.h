// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "panel/looks/look_store.h"

namespace kalvio {

// The current parameters are those of `look`, whether or not the effects are on.
bool is_look_applied(const StoredLook &look);

// Makes them so and pushes them: one change, called after looks.
void apply_look(const StoredLook &look);

// Applies the look that is `step` places after the applied one, our own before the user's, from the first or last one
// when none is; at the ends it goes on at the other end. Nothing without a filter.
void apply_neighboring_look(int step);

} // namespace kalvio
